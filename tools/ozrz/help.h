// The text of --help, made from the options themselves, for a terminal of 80 columns.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace ozrz {

// `usage` lines go in front, the app's description follows, then its options group by group; behind them `examples`, as
// they are, and the app's footer.
std::string helpText(const CLI::App& app, const std::string& usage, const std::string& examples);

}  // namespace ozrz
