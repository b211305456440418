// Property lists of any bytes: what is read can be shown and changed, and what is written is read as the same again.

#include "plist_commands.h"
#include "promise.h"

#include <cstddef>
#include <cstdint>

using namespace kyb::macroot;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    kyb::Plist root = plistFromText(bytes);
    if (!root) {
        return 0;
    }
    PlistEditor editor(std::move(root));
    for (const char *const command : {"Print", "Set :a 1", "Set :0 1", "Set : 1", "Add :z string x", "Add :0 dict",
                                      "Add :z:0 integer 7", "Delete :a", "Delete :1", "Print :0:a"}) {
        editor.run(command);
    }
    const std::string written = plistToText(editor.root(), plistFormatOf(bytes));
    const kyb::Plist again = plistFromText(written);
    require(written.empty() || (again && printedNode(again.get()) == printedNode(editor.root())));
    return 0;
}
