// Packs standard input to standard output as gzip, on all cores: pieces of a megabyte become members of their own,
// which every gzip unpacks one behind the other as if they were one. What comes out does not depend on the number of
// cores.
#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <ozrdc.hpp>
#include <stdexcept>
#include <thread>
#include <vector>

using Data = std::vector<std::byte>;

constexpr std::size_t kPieceSize = std::size_t{1} << 20;
constexpr std::array<uint8_t, 10> kHeader{0x1F, 0x8B, 8, 0, 0, 0, 0, 0, 0, 255};  // no name, no time, no system

// A piece of the input, and the thread's own encoder, which is made once and used for many pieces.
struct Worker {
    ozrdc::deflate::Encoder encoder = ozrdc::deflate::Encoder::create(6).value();
    Data piece = Data(kPieceSize);
    std::size_t pieceSize = 0;
    Data member;
    std::exception_ptr failure;

    bool read() {
        pieceSize = std::fread(piece.data(), 1, piece.size(), stdin);
        if (std::ferror(stdin) != 0) throw std::runtime_error("cannot read");
        return pieceSize > 0;
    }

    void pack() try {
        const ozrdc::Bytes source = std::span(piece).first(pieceSize);
        member.assign(reinterpret_cast<const std::byte*>(kHeader.data()),
                      reinterpret_cast<const std::byte*>(kHeader.data() + kHeader.size()));
        std::array<std::byte, 16384> room;
        const auto append = [&](ozrdc::Bytes packed) { member.insert(member.end(), packed.begin(), packed.end()); };
        encoder.reset().value();
        ozrdc::update(encoder, source, room, append).value();
        ozrdc::finish(encoder, room, append).value();
        for (const uint32_t number : {ozrdc::crc32(source), static_cast<uint32_t>(pieceSize)}) {
            for (int shift = 0; shift < 32; shift += 8) member.push_back(static_cast<std::byte>(number >> shift));
        }
    } catch (...) {
        failure = std::current_exception();
    }

    void write() const {
        if (failure) std::rethrow_exception(failure);
        if (std::fwrite(member.data(), 1, member.size(), stdout) != member.size()) {
            throw std::runtime_error("cannot write");
        }
    }
};

int main() try {
    std::vector<Worker> workers(std::max(1U, std::thread::hardware_concurrency()));
    bool any = false;
    for (bool more = true; more;) {
        // A round: as many pieces as workers, packed at the same time, written in their order.
        std::vector<std::jthread> threads;
        std::size_t busy = 0;
        while (busy < workers.size() && (more = workers[busy].read() || !any)) {
            any = true;  // nothing at all becomes a member, too
            threads.emplace_back(&Worker::pack, &workers[busy++]);
        }
        threads.clear();  // waits for them
        for (std::size_t i = 0; i < busy; ++i) workers[i].write();
    }
    return std::fflush(stdout) == 0 ? 0 : throw std::runtime_error("cannot write");
} catch (const std::exception& error) {
    std::fprintf(stderr, "parallel_gzip: %s\n", error.what());
    return 1;
}
