// Commands of any bytes on a property list of any bytes: a list, a NUL byte, and a command a line. A command that fails
// changes nothing, and what is printed of a list that can be written is the same when it is read again.

#include "plist_commands.h"
#include "promise.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

using namespace kyb::macroot;

namespace {

constexpr std::string_view kSample = "<plist><dict><key>a</key><array><integer>1</integer><string>b</string></array>"
                                     "<key>d</key><dict><key>e</key><true/></dict></dict></plist>";

void runOne(PlistEditor &editor, std::string_view command) {
    const std::string before = printedNode(editor.root());
    const bool wasChanged = editor.isChanged();
    const PlistEditor::Outcome outcome = editor.run(command);
    const std::string after = printedNode(editor.root());
    require(outcome.succeeded || (before == after && editor.isChanged() == wasChanged && !outcome.text.empty()));
    require(editor.isChanged() || before == after);
}

void requireWritten(const PlistEditor &editor, PlistFormat format) {
    const std::string written = plistToText(editor.root(), format);
    if (!written.empty()) {
        const kyb::Plist again = plistFromText(written);
        require(again && printedNode(again.get()) == printedNode(editor.root()));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    const std::size_t listEnd = bytes.find('\0');
    const std::string_view list = listEnd == std::string_view::npos ? kSample : bytes.substr(0, listEnd);
    std::string_view commands = listEnd == std::string_view::npos ? bytes : bytes.substr(listEnd + 1);
    kyb::Plist root = plistFromText(list);
    if (!root) {
        return 0;
    }
    PlistEditor editor(std::move(root));
    while (!commands.empty()) {
        const std::size_t end = std::min(commands.find('\n'), commands.size());
        runOne(editor, commands.substr(0, end));
        commands.remove_prefix(std::min(end + 1, commands.size()));
    }
    requireWritten(editor, PlistFormat::Xml);
    requireWritten(editor, PlistFormat::Binary);
    return 0;
}
