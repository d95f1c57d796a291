// Reading ahead through a ring of pieces.
#include "formats/deflate/read_ahead.h"

namespace ozrz::deflate {

ReadAhead::~ReadAhead() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        stop_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

Bytes ReadAhead::readInto(std::size_t number) {
    Buffer& memory = memory_[number % kPieces];
    memory.require(kPieceSize);
    return {memory.data(), source_.read({memory.data(), kPieceSize})};
}

Bytes ReadAhead::next() {
    if (ended_) return {};
    Bytes piece;
    if (!thread_.joinable()) {
        piece = readInto(given_++);
    } else {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return read_ > given_ || failure_; });
        if (read_ == given_) std::rethrow_exception(failure_);
        piece = pieces_[given_++ % kPieces];
        lock.unlock();
        changed_.notify_all();
    }
    // Only the last piece is not full.
    ended_ = piece.size() < kPieceSize;
    if (!ended_ && ahead_ && !thread_.joinable()) {
        read_ = given_;
        thread_ = std::thread([this] { readAll(); });
    }
    return piece;
}

void ReadAhead::readAll() {
    for (bool ended = false; !ended;) {
        std::unique_lock lock(mutex_);
        // The piece that was given out last is in use.
        changed_.wait(lock, [this] { return stop_ || read_ - given_ < kPieces - 1; });
        if (stop_) return;
        const std::size_t number = read_;
        lock.unlock();
        Bytes piece;
        std::exception_ptr failure;
        try {
            piece = readInto(number);
        } catch (...) {
            failure = std::current_exception();
        }
        ended = failure || piece.size() < kPieceSize;
        lock.lock();
        failure_ = failure;
        if (!failure) {
            pieces_[number % kPieces] = piece;
            ++read_;
        }
        lock.unlock();
        changed_.notify_all();
    }
}

}  // namespace ozrz::deflate
