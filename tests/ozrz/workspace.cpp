// Files for tests.
#include "workspace.h"

#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "support/sample_data.h"

namespace ozrz::test {

Workspace::Workspace() {
    std::string name = (std::filesystem::temp_directory_path() / "ozrz-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a directory");
    directory_ = name;
}

Workspace::~Workspace() {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

void Workspace::write(const std::string& name, const std::string& contents) const {
    std::ofstream file(path(name), std::ios::binary);
    file << contents;
    file.close();
    ASSERT_TRUE(file) << name;
}

std::string Workspace::read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    EXPECT_TRUE(file) << "cannot read " << name;
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

std::vector<std::string> Workspace::names() const {
    std::vector<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(directory_)) all.push_back(entry.path().filename());
    std::sort(all.begin(), all.end());
    return all;
}

Result Workspace::ozrz(const std::vector<std::string>& arguments, const std::string& input) const {
    return ozrz(arguments, Setting{.directory = {}, .input = input});
}

Result Workspace::ozrz(const std::vector<std::string>& arguments, Setting setting) const {
    setting.directory = directory_;
    return run(ozrzCommand(arguments), setting);
}

std::string Workspace::compressed(const std::string& contents, const std::vector<std::string>& options) const {
    std::vector<std::string> arguments = options;
    arguments.emplace_back("-c");
    const Result result = ozrz(arguments, contents);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result.out;
}

std::string sample(const std::string& kind, std::size_t size, uint64_t seed) {
    const std::vector<uint8_t> bytes = ozrdc::test::sampleKind(kind).make(size, seed);
    return {bytes.begin(), bytes.end()};
}

}  // namespace ozrz::test
