// Messages on standard error.
#include "messages.h"

#include <cstdio>
#include <string>

#include "text.h"

namespace ozrz {

void Messages::show(std::string_view prefix, std::string_view text) {
    if (beforeWriting_) beforeWriting_();
    // Names of files are in it, which could hold anything: what moves the cursor would make a terminal tell lies.
    const std::string all = std::string(prefix) + printableText(std::string(text)) + "\n";
    std::fputs(all.c_str(), stderr);  // one call: lines of processes that share the terminal stay whole
}

void Messages::error(std::string_view text) {
    exitCode_ = ExitCode::error;
    show("ozrz: ", text);
}

void Messages::warning(std::string_view text) {
    if (exitCode_ == ExitCode::success) exitCode_ = ExitCode::warning;
    if (!quiet()) show("ozrz: ", text);
}

void Messages::line(std::string_view text) { show("", text); }

}  // namespace ozrz
