// A store of short log records: each is packed alone, so that any can be read without the others, and all with one
// dictionary, without which records this short would hardly get smaller.
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <ozrdc.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace lz4 = ozrdc::lz4;

class LogStore {
  public:
    // The dictionary is kept in the store: records cannot be read without it.
    explicit LogStore(std::string sample) : sample_(std::move(sample)), dictionary_(sample_) {}
    LogStore(const LogStore&) = delete;  // the dictionary refers to the sample
    LogStore& operator=(const LogStore&) = delete;

    void append(std::string_view record) {
        std::vector<std::byte> room(lz4::encodedBound(record.size()));
        const ozrdc::Buffer block = dictionary_.encode(record, room).value();
        entries_.push_back({blocks_.size(), block.size(), record.size()});
        blocks_.insert(blocks_.end(), block.begin(), block.end());
    }

    std::string read(std::size_t number) const {
        const Entry& entry = entries_.at(number);
        std::string record(entry.recordSize, '\0');
        const auto block = std::span(blocks_).subspan(entry.offset, entry.blockSize);
        if (dictionary_.decode(block, record).value().size() != record.size())
            throw std::runtime_error("a record is cut");
        return record;
    }

    std::size_t count() const { return entries_.size(); }
    std::size_t packedSize() const { return blocks_.size() + sample_.size(); }

  private:
    struct Entry {
        std::size_t offset;
        std::size_t blockSize;
        std::size_t recordSize;
    };

    std::string sample_;
    lz4::Dictionary dictionary_;
    std::vector<std::byte> blocks_;
    std::vector<Entry> entries_;
};

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::cerr << "usage: lz4_log_store FILE NUMBER: stores the lines of a file, and shows that one\n";
        return 2;
    }
    std::ifstream file(argv[1]);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty()) lines.push_back(line);  // blocks are of one byte at least
    }

    // Some lines from all over the file are a good sample of what the others are like.
    constexpr std::size_t sampleSize = 8192;
    std::string sample;
    for (std::size_t i = 0; i < lines.size() && sample.size() < sampleSize; i += lines.size() / 50 + 1) {
        sample += lines[i] + '\n';
    }

    LogStore store(sample);
    std::size_t plainSize = 0, alone = 0;
    for (const std::string& line : lines) {
        store.append(line);
        plainSize += line.size();
        std::vector<std::byte> room(lz4::encodedBound(line.size()));
        alone += lz4::encode(line, room).value().size();
    }
    for (std::size_t i = 0; i < store.count(); ++i) {
        if (store.read(i) != lines[i]) throw std::runtime_error("record " + std::to_string(i) + " has changed");
    }
    std::cout << store.count() << " records, " << plainSize << " bytes; packed " << store.packedSize()
              << ", without a dictionary " << alone << '\n'
              << store.read(std::stoul(argv[2])) << '\n';
} catch (const std::exception& error) {
    std::cerr << "lz4_log_store: " << error.what() << '\n';
    return 1;
}
