// Terms of any bytes: whatever they are, what is read of them keeps within its limits, and the view shows all of it.

#include "promise.h"
#include "text/rich_text.h"
#include "text/rich_text_layout.h"
#include "ui/wizard/RichTextView.h"

#include <QApplication>
#include <QTextDocument>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <tuple>

namespace {

void requireSound(const kyb::RichTextRun &run) {
    require(!run.text.isEmpty() && run.text.isValidUtf16());
    require(!run.text.contains(QChar::ParagraphSeparator) && !run.text.contains(u'\n'));
    require(run.sizePoints >= 0.5 && run.sizePoints <= 400.0);
    require(run.colorRgb.value_or(0) <= 0xFFFFFF);
}

void requireSound(const kyb::RichTextParagraph &paragraph) {
    require(paragraph.runs.size() <= kyb::kMaxParagraphRuns);
    qsizetype units = 0;
    for (const kyb::RichTextRun &run : paragraph.runs) {
        requireSound(run);
        units += run.text.size();
    }
    require(units <= kyb::kMaxParagraphUnits);
}

void requireSound(const kyb::RichTextDocument &document) {
    constexpr double kHighestParagraph = kyb::kMaxParagraphUnits * 96 * 1.5 * 2;
    double height = 0;
    std::set<std::tuple<QStringList, double, bool, bool>> faces;
    for (const kyb::RichTextParagraph &paragraph : document.paragraphs) {
        requireSound(paragraph);
        height += kyb::shownHeight(paragraph);
        for (const kyb::RichTextRun &run : paragraph.runs) {
            faces.emplace(run.fontFamilies, run.sizePoints, run.bold, run.italic);
        }
    }
    require(height <= kyb::kMaxRichTextHeightPoints + kHighestParagraph);
    require(std::ssize(faces) <= kyb::kMaxRichTextFaces + 4); // and plain ones: bold or not, italic or not
}

/// On a screen that nobody sees.
kyb::RichTextView &view() {
    static int argc = 1;
    static char name[] = "rich_text_fuzz";
    static char *argv[] = {name, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static const QApplication application(argc, argv);
    static kyb::RichTextView view;
    return view;
}

void requireShown(const kyb::RichTextDocument &document) {
    view().setRichText(document);
    view().grab(); // lays it out and paints it
    QString text = kyb::plainText(document);
    text.replace(QChar::Nbsp, u' '); // as the toolkit gives it
    require(view().text() == text);
    require(view().document()->blockCount() == std::max<qsizetype>(1, document.paragraphs.size()));
}

} // namespace

/// The toolkit keeps the fonts that it has found to the end, and the library that finds them keeps more.
extern "C" const char *__lsan_default_suppressions() {
    return "leak:libfontconfig";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    for (const QByteArray &document : {bytes, "{\\rtf1 " + bytes}) {
        const kyb::RichTextDocument read = kyb::parseRichText(document);
        requireSound(read);
        require(kyb::plainText(read).size() <= document.size() + read.paragraphs.size());
        requireShown(read);
    }
    return 0;
}
