// The terms view on documents that were made to be slow: reading and showing one that is twice as long should take
// twice as long. Then on documents that come to the limits. Runs without a display.

#include "Sample.h"

#include "text/rich_text.h"
#include "ui/wizard/RichTextView.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QElapsedTimer>
#include <QTextDocument>
#include <cstdio>

namespace {

constexpr qsizetype kBytes = 200'000;
constexpr qsizetype kBytesBeyondLimits = 4'000'000;
constexpr int kRuns = 5;

struct Kind {
    const char *name;
    QByteArray part; ///< what the document repeats
};

double showMilliseconds(const Kind &kind, qsizetype bytes) {
    const QByteArray document = "{\\rtf1\\ansi\\ansicpg65001 " + kind.part.repeated(bytes / kind.part.size()) + "}";
    kyb::RichTextView view;
    view.resize(560, 320); // as large as on the screen
    QElapsedTimer timer;
    timer.start();
    view.setRichText(kyb::parseRichText(document));
    view.document()->documentLayout()->documentSize(); // all of it is laid out
    view.grab();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

void compare(const Kind &kind) {
    Sample once;
    Sample twice;
    Sample ratio;
    for (int run = 0; run < kRuns; ++run) {
        const double one = showMilliseconds(kind, kBytes);
        const double two = showMilliseconds(kind, 2 * kBytes);
        once.add(one);
        twice.add(two);
        ratio.add(two / one);
    }
    std::printf("%-22s %s, twice as long %s, ratio %s\n", kind.name, qPrintable(once.text("ms")),
                qPrintable(twice.text("ms")), qPrintable(ratio.text("")));
}

void measureAtTheLimits(const Kind &kind) {
    std::printf("%-22s %.0f ms\n", kind.name, showMilliseconds(kind, kBytesBeyondLimits));
}

/// A table of a thousand fonts, and a letter in each.
QByteArray manyFonts() {
    QByteArray table;
    QByteArray letters;
    for (int i = 0; i < 1000; ++i) {
        table += "{\\f" + QByteArray::number(i) + " Font " + QByteArray::number(i) + ";}";
        letters += "\\f" + QByteArray::number(i) + "\\fs" + QByteArray::number(8 + i % 180) + " a";
    }
    return "{\\fonttbl" + table + "}" + letters;
}

} // namespace

int main(int argc, char *argv[]) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const Kind kKinds[] = {
        {"paragraphs", "Some words of a paragraph.\\par "},
        {"one paragraph", "Some words. "},
        {"one word", "a"},
        {"bold on and off", "\\b a\\b0 b"},
        {"bold words", "\\b word \\b0 word "},
        {"two scripts", "a\xCE\xB1"},
        {"characters on a base", "\xCC\x81"},
        {"tabs", "\t"},
        {"lines", "a\\line "},
        {"no-break blanks", "a\\~"},
        {"right to left", "\xD7\x90"},
        {"empty paragraphs", "\\par "},
    };
    for (const Kind &kind : kKinds) {
        compare(kind);
    }
    const Kind kKindsAtTheLimits[] = {
        {"tall", "\\sb31680\\sa31680 a\\par "},
        {"lines at the limits", "a\\line "},
        {"narrow", "\\li31680\\ri31680 aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"},
        {"large font", "\\fs800 WWWWWWWWWWWWWWWWWWWW"},
        {"many fonts", manyFonts()},
    };
    for (const Kind &kind : kKindsAtTheLimits) {
        measureAtTheLimits(kind);
    }
    return 0;
}
