// Terms of any bytes: whatever they are, what is read of them can be shown.

#include "text/rich_text.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void requireSound(const kyb::RichTextRun &run) {
    require(!run.text.isEmpty() && run.text.isValidUtf16());
    require(!run.text.contains(QChar::ParagraphSeparator) && !run.text.contains(u'\n'));
    require(run.sizePoints >= 0.5 && run.sizePoints <= 400.0);
    require(run.colorRgb.value_or(0) <= 0xFFFFFF);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    for (const QByteArray &document : {bytes, "{\\rtf1 " + bytes}) {
        const kyb::RichTextDocument read = kyb::parseRichText(document);
        for (const kyb::RichTextParagraph &paragraph : read.paragraphs) {
            for (const kyb::RichTextRun &run : paragraph.runs) {
                requireSound(run);
            }
        }
        require(kyb::plainText(read).size() <= document.size());
    }
    return 0;
}
