// Pieces that begin with the mark of a block go through the pipeline: found in their order, decoded in parallel as if a
// block began there, followed and written in their order. Which pieces there are does not depend on the number of
// threads, and neither does what is written or said.
#include "formats/bzip2/decode.h"

#include "error.h"
#include "formats/bzip2/stream_follower.h"
#include "pipeline.h"
#include "pool.h"
#include "text.h"

namespace ozrz::bzip2 {
namespace {

void warnOf(const StreamFollower& follower, const DecodeSettings& settings) {
    for (const std::string& text : follower.warnings()) settings.warn(text);
}

std::string lossesText(const StreamFollower& follower) {
    return "damaged in " + countText(follower.losses(), "place") + "; " + countText(follower.blocks(), "block") +
           (follower.blocks() == 1 ? " is" : " are") + " intact";
}

}  // namespace

Summary decode(Source& source, Sink& sink, const DecodeSettings& settings) {
    // What is whole in one look ahead is done sooner than threads are started.
    const unsigned threads = source.peek(Source::kMaxPeek).size() < Source::kMaxPeek ? 1 : settings.threads;
    std::vector<Attempt> attempts(pipelineSlots(threads));
    Pool<BlockDecoder> decoders;
    BlockFinder finder(source);
    StreamFollower follower(sink, settings.recover);

    const auto read = [&](std::size_t i) { return !follower.ended() && finder.next(attempts[i].piece); };
    const auto work = [&](std::size_t i) {
        Attempt& attempt = attempts[i];
        // One that nobody wanted to go on with, as it began at a mark that stood there by chance.
        if (attempt.unfinished) decoders.giveBack(std::move(attempt.unfinished));
        if (!attempt.piece.atMark) return;
        std::unique_ptr<BlockDecoder> decoder = decoders.take();
        if (decoder->begin(attempt.piece, attempt.block)) {
            decoders.giveBack(std::move(decoder));
        } else {
            attempt.unfinished = std::move(decoder);
        }
    };
    const auto write = [&](std::size_t i) { follower.take(attempts[i]); };
    runPipeline(threads, attempts.size(), {read, work, write});
    follower.finish();

    warnOf(follower, settings);
    if (follower.losses() != 0) throw DataError(lossesText(follower));
    return {follower.streams(), follower.blocks(), follower.firstLevel(), follower.end()};
}

}  // namespace ozrz::bzip2
