// A command's output of any bytes, in any pieces, and how it ended: whenever the program looks at what the helper
// writes of it, it sees no end before the end, and after a failure it sees one, whatever the moments of its two looks.

#include "ProgressReport.h"
#include "channel/message_keys.h"
#include "install/phases.h"
#include "last_lines.h"
#include "posix/file_io.h"
#include "promise.h"
#include "support/RootFolder.h"

#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <string>

namespace {

using kyb::helper::ProgressFile;
using kyb::helper::ProgressReport;

/// In a folder that is taken away at this process's end.
const std::string &file() {
    static const kyb::test::TempFolder folder;
    static const std::string path = folder / "progress";
    return path;
}

std::string content() {
    const kyb::UniqueFd opened = kyb::openRegularFile(file(), O_RDONLY);
    return kyb::readAll(opened.get(), std::size_t{64} << 20).value_or("");
}

bool marksFailure(const std::string &line) {
    return kyb::readInstallerLine(kyb::lineText(line.c_str()), false).marksFailure;
}

bool isEnd(const std::string &line) {
    const std::optional<QString> text = kyb::lineText(line.c_str());
    return text && text->startsWith(QLatin1String(kyb::kInstallationDone));
}

} // namespace

/// The first byte says how the command ends, the second how long the pieces are.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    std::optional<ProgressFile> made = ProgressFile::create(file());
    require(made.has_value());
    ProgressReport report(std::move(*made));
    const bool fails = (data[0] & 1) != 0;
    const std::size_t pieceBytes = std::size_t{data[1]} * 64 + 1;
    const std::size_t repeats = (data[0] & 2) != 0 ? 300 : 1; // makes endless lines
    const std::string_view output(reinterpret_cast<const char *>(data + 2), size - 2);
    for (std::size_t turn = 0; turn < repeats; ++turn) {
        for (std::size_t at = 0; at < output.size(); at += pieceBytes) {
            report.addOutput(output.substr(at, pieceBytes));
        }
    }
    require(!isEnd(firstOfLastLines(1, content())));
    if (fails || report.endsWithFailure()) {
        require(!report.fail("exit status 1").empty());
        require(!isEnd(firstOfLastLines(1, content())) && marksFailure(firstOfLastLines(2, content())));
        report.complete();
        require(marksFailure(firstOfLastLines(2, content())));
    } else {
        report.succeed();
    }
    require(report.isInPlace() && !report.isLost() && isEnd(firstOfLastLines(1, content())));
    return 0;
}
