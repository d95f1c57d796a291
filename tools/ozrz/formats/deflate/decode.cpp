// Pieces of the content go through the pipeline: decoded in their order, then checked and written in their order.
//
// A piece is memory with room for the window in front: before it is filled, the last 32 KiB of the piece before it are
// put there, so that all history is where the decoder wants it. Where many short streams follow each other, they share
// a piece.
#include "formats/deflate/decode.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>
#include <vector>

#include "error.h"
#include "formats/deflate/inflater.h"
#include "formats/deflate/symbols.h"
#include "pipeline.h"

namespace ozrz::deflate {
namespace {

constexpr std::size_t kPieceSize = 256 * KiB;

// Streams can be empty: so many of them end a piece too.
constexpr std::size_t kMaxStreamsInPiece = 4096;

// Pieces under way: one that is decoded, one that is written, one between.
constexpr std::size_t kPieces = 3;

struct StreamEnd {
    std::size_t position;  // in the piece
    Trailer trailer;
};

struct Piece {
    Piece() : memory(kWindowSize + kPieceSize) {}

    Buffer memory;
    Bytes content;
    std::vector<StreamEnd> ends;
};

// The first stage.
class Decoder {
  public:
    Decoder(Source& source, Container& container, bool readAhead)
        : input_(source, readAhead), reader_(input_), inflater_(reader_), container_(container) {}

    // False if nothing is left. A failure is thrown by the call after the one that has brought what came before it.
    bool fill(Piece& piece) {
        if (failure_) std::rethrow_exception(failure_);
        if (ended_) return false;
        uint8_t* const begin = piece.memory.data() + kWindowSize;
        const Bytes history = std::exchange(history_, {});
        if (!history.empty()) std::memmove(begin - history.size(), history.data(), history.size());
        Output out{.history = begin - history.size(), .next = begin, .end = begin + kPieceSize};
        piece.ends.clear();
        try {
            decodeStreams(out, begin, piece.ends);
        } catch (const Error&) {
            failure_ = std::current_exception();
        }
        piece.content = {begin, out.next};
        return true;
    }

    uint64_t position() const { return reader_.position(); }

  private:
    void decodeStreams(Output& out, const uint8_t* begin, std::vector<StreamEnd>& ends) {
        while (ends.size() < kMaxStreamsInPiece) {
            if (!inStream_) {
                if (!container_.open(reader_)) {
                    ended_ = true;
                    return;
                }
                inflater_.begin();
                inStream_ = true;
                out.history = out.next;
                if (const Bytes dictionary = container_.dictionary(); !dictionary.empty()) {
                    history_ = dictionary.last(std::min(dictionary.size(), kWindowSize));
                    return;  // it goes in front of the next piece
                }
            }
            if (!inflater_.decode(out)) {
                const Bytes all(out.history, out.next);
                history_ = all.last(std::min(all.size(), kWindowSize));
                return;
            }
            const auto position = static_cast<std::size_t>(out.next - begin);
            ends.push_back({position, container_.close(reader_)});
            inStream_ = false;
        }
    }

    ReadAhead input_;
    BitReader reader_;
    Inflater inflater_;
    Container& container_;
    bool inStream_ = false;
    bool ended_ = false;
    Bytes history_;  // goes in front of the next piece
    std::exception_ptr failure_;
};

// The last stage.
class Writer {
  public:
    Writer(Sink& sink, const Container& container)
        : sink_(sink), container_(container), check_(container.emptyCheck()) {}

    void write(const Piece& piece) {
        std::size_t begin = 0;
        for (const StreamEnd& end : piece.ends) {
            extend(piece.content.subspan(begin, end.position - begin));
            begin = end.position;
            ++stream_;
            try {
                container_.verify(end.trailer, check_, size_, stream_);
            } catch (const DataError&) {
                sink_.write(piece.content.first(begin));
                throw;
            }
            check_ = container_.emptyCheck();
            size_ = 0;
        }
        extend(piece.content.subspan(begin));
        if (!piece.content.empty()) sink_.write(piece.content);
    }

  private:
    void extend(Bytes bytes) {
        if (!bytes.empty()) check_ = container_.extendCheck(check_, bytes);
        size_ += bytes.size();
    }

    Sink& sink_;
    const Container& container_;
    uint64_t stream_ = 0;
    uint32_t check_;
    uint64_t size_ = 0;
};

}  // namespace

std::string contentName(uint64_t stream) {
    return stream == 1 ? "the content" : "the content of member " + std::to_string(stream);
}

uint64_t decode(Source& source, Sink& sink, Container& container, unsigned threads) {
    // One thread decodes while another one writes; more would find nothing to do. What is whole in one look ahead is
    // done sooner than they are started.
    threads = source.peek(Source::kMaxPeek).size() < Source::kMaxPeek ? 1 : std::min(threads, 2U);
    Decoder decoder(source, container, threads > 1);
    Writer writer(sink, container);
    std::vector<Piece> pieces(threads > 1 ? kPieces : 1);
    runPipeline(threads, pieces.size(),
                {[&](std::size_t i) { return decoder.fill(pieces[i]); }, [](std::size_t) {},
                 [&](std::size_t i) { writer.write(pieces[i]); }});
    return decoder.position();
}

}  // namespace ozrz::deflate
