// Laying out --help.
#include "help.h"

#include <CLI/CLI.hpp>
#include <sstream>

namespace ozrz {
namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kTextColumn = 26;

// Appends words, broken into lines that begin at `column`. The text's own line breaks stay.
void appendWrapped(std::string& out, const std::string& text, std::size_t column) {
    const std::string indent(column, ' ');
    std::istringstream lines(text);
    std::size_t used = column;
    bool first = true;
    for (std::string line; std::getline(lines, line); first = false) {
        if (!first) {
            out += "\n" + indent;
            used = column;
        }
        std::istringstream words(line);
        bool lineStart = true;
        for (std::string word; words >> word; lineStart = false) {
            if (!lineStart && used + 1 + word.size() > kWidth) {
                out += "\n" + indent;
                used = column;
                lineStart = true;
            }
            if (!lineStart) {
                out += ' ';
                ++used;
            }
            out += word;
            used += word.size();
        }
    }
    out += '\n';
}

// "-o, --output FILE". Many short names in a row, as of the levels, are given as a range.
std::string optionNames(const CLI::Option& option) {
    const auto& shortNames = option.get_snames();
    const auto& longNames = option.get_lnames();
    std::string names;
    if (shortNames.size() > 2) {
        names = "-" + shortNames.front() + " .. -" + shortNames.back();
    } else {
        for (const std::string& name : shortNames) names += (names.empty() ? "-" : ", -") + name;
    }
    if (names.empty()) names = "    ";
    for (const std::string& name : longNames) names += (names == "    " ? "--" : ", --") + name;
    // Checks append what they allow to the name of the value, as ":UINT in [4 - 7]"; the description says it better.
    const std::string type = option.get_type_name();
    const std::string value = type.substr(0, type.find(':'));
    if (!value.empty()) names += (value.front() == '[' ? "" : " ") + value;
    return names;
}

}  // namespace

std::string helpText(const CLI::App& app, const std::string& usage, const std::string& examples) {
    std::string out = usage + "\n\n";
    appendWrapped(out, app.get_description(), 0);
    for (const std::string& group : app.get_groups()) {
        std::string lines;
        for (const CLI::Option* option : app.get_options()) {
            if (option->get_group() != group || option->get_positional()) continue;
            std::string line = "  " + optionNames(*option);
            if (line.size() + 2 > kTextColumn) {
                lines += line + "\n";
                line.clear();
            }
            line.resize(kTextColumn, ' ');
            appendWrapped(line, option->get_description(), kTextColumn);
            lines += line;
        }
        if (!lines.empty()) out.append("\n").append(group).append(":\n").append(lines);
    }
    if (!examples.empty()) out += "\n" + examples;
    if (!app.get_footer().empty()) {
        out += '\n';
        appendWrapped(out, app.get_footer(), 0);
    }
    return out;
}

}  // namespace ozrz
