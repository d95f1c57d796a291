// A source in large pieces; on a thread of its own, the next ones are read while one is worked on.
#pragma once

#include <array>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

#include "source.h"

namespace ozrz::deflate {

class ReadAhead {
  public:
    // With `ahead`, a thread is started as soon as the source turns out to have more than one piece.
    ReadAhead(Source& source, bool ahead) : source_(source), ahead_(ahead) {}
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    // The next piece, which holds until the next call; empty at the end of the source. Throws what the source throws.
    Bytes next();

  private:
    static constexpr std::size_t kPieceSize = 128 * KiB;
    static constexpr std::size_t kPieces = 4;

    Bytes readInto(std::size_t number);
    void readAll();

    Source& source_;
    const bool ahead_;
    bool ended_ = false;  // nothing follows the piece that was given last
    std::array<Buffer, kPieces> memory_;

    // Between the threads. Pieces are numbered from 0, and piece n lies in memory n % kPieces.
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::array<Bytes, kPieces> pieces_;
    std::size_t read_ = 0;   // pieces that are there
    std::size_t given_ = 0;  // pieces that were given out
    bool stop_ = false;
    std::exception_ptr failure_;  // instead of the next piece
};

}  // namespace ozrz::deflate
