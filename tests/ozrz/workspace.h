// The fixture of tests that work on files: a directory of their own, which is removed at the end.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "process.h"

namespace ozrz::test {

class Workspace : public ::testing::Test {
  protected:
    Workspace();
    ~Workspace() override;

    std::filesystem::path path(const std::string& name) const { return directory_ / name; }
    void write(const std::string& name, const std::string& contents) const;
    std::string read(const std::string& name) const;
    bool exists(const std::string& name) const { return std::filesystem::exists(path(name)); }

    // The names in the directory, hidden ones too, in order.
    std::vector<std::string> names() const;

    // Runs the command in the directory.
    Result ozrz(const std::vector<std::string>& arguments, const std::string& input = "") const;
    Result ozrz(const std::vector<std::string>& arguments, Setting setting) const;

    // Compressed in memory by the command, which must succeed.
    std::string compressed(const std::string& contents, const std::vector<std::string>& options = {}) const;

  private:
    std::filesystem::path directory_;
};

// Sample data of a kind, as a string.
std::string sample(const std::string& kind, std::size_t size, uint64_t seed = 1);

}  // namespace ozrz::test
