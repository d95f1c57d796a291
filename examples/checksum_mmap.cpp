// The checksums of a file, however large, without reading it into memory: it is mapped, and the pages come as they are
// needed.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <ozrdc.hpp>
#include <system_error>

// A file as bytes in memory.
class MappedFile {
  public:
    explicit MappedFile(const char* name) {
        const int file = open(name, O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (file < 0 || fstat(file, &status) != 0) fail(name, file);
        size_ = static_cast<std::size_t>(status.st_size);
        if (size_ != 0) {  // nothing cannot be mapped
            bytes_ = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, file, 0);
            if (bytes_ == MAP_FAILED) fail(name, file);
            madvise(bytes_, size_, MADV_SEQUENTIAL);
        }
        close(file);
    }
    ~MappedFile() {
        if (size_ != 0) munmap(bytes_, size_);
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    std::span<const std::byte> bytes() const { return {static_cast<const std::byte*>(bytes_), size_}; }

  private:
    [[noreturn]] static void fail(const char* name, int file) {
        const std::error_code error(errno, std::generic_category());
        if (file >= 0) close(file);
        throw std::system_error(error, name);
    }

    void* bytes_ = nullptr;
    std::size_t size_ = 0;
};

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::fputs("usage: checksum_mmap FILE\n", stderr);
        return 2;
    }
    const MappedFile file(argv[1]);
    // All of them in one walk through the file: a piece is still in the cache when the second one comes to it.
    constexpr std::size_t piece = std::size_t{1} << 18;
    ozrdc::Crc32 crc;
    ozrdc::Crc32c castagnoli;
    ozrdc::Adler32 adler;
    for (auto rest = file.bytes(); !rest.empty(); rest = rest.subspan(std::min(piece, rest.size()))) {
        const auto bytes = rest.first(std::min(piece, rest.size()));
        crc.update(bytes);
        castagnoli.update(bytes);
        adler.update(bytes);
    }
    std::printf("crc32 %08x  crc32c %08x  adler32 %08x  %zu bytes\n", crc.value(), castagnoli.value(), adler.value(),
                file.bytes().size());
} catch (const std::exception& error) {
    std::fprintf(stderr, "checksum_mmap: %s\n", error.what());
    return 1;
}
