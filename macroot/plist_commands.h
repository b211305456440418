#pragma once

#include "plist_document.h"

#include <string>
#include <string_view>
#include <vector>

namespace kyb::macroot {

/// The words of a command line: separated by blanks; quotes, single or double, hold a word together, and a backslash
/// takes the next character as it is. The third word is the rest of the line.
struct PlistCommand {
    std::string name;      ///< "Set", "Print", ... as typed
    std::string entry;     ///< such as ":Key" or ":A:B:0"; "" for the root
    std::string arguments; ///< what follows; one pair of quotes around all of it is taken away
};
PlistCommand parsePlistCommand(std::string_view text);

/// The names of an entry path, without its colons. Behind a colon at the end comes an empty name: in an array, the
/// place after its last item.
std::vector<std::string> entryNames(std::string_view entry);

/// Runs commands on one property list. A command that fails changes nothing.
class PlistEditor {
public:
    explicit PlistEditor(Plist root) : root_(std::move(root)) {}

    struct Outcome {
        bool succeeded = true;
        std::string text; ///< to be printed: on standard output, or on standard error after a failure
    };
    Outcome run(std::string_view command);

    plist_t root() const { return root_.get(); }
    bool isChanged() const { return changed_; }
    void markSaved() { changed_ = false; }

private:
    Outcome print(const PlistCommand &command);
    Outcome set(const PlistCommand &command);
    Outcome add(const PlistCommand &command);
    Outcome remove(const PlistCommand &command);
    plist_t find(const std::vector<std::string> &names) const;

    Plist root_;
    bool changed_ = false;
};

/// A node as the Print command shows it, without a line end.
std::string printedNode(plist_t node);

} // namespace kyb::macroot
