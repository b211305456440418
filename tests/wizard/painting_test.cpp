#include "PaintJournal.h"
#include "WizardTest.h"
#include "ui/wizard/BareStyle.h"
#include "ui/wizard/BorderBox.h"
#include "ui/wizard/Spinner.h"

#include <QStyleFactory>
#include <QStyleOption>
#include <gmock/gmock.h>

using kyb::test::paintedBy;
using Lines = std::vector<std::string>;

namespace {

constexpr QStyle::State kKeyboardFocus = QStyle::State_HasFocus | QStyle::State_KeyboardFocusChange;

QPalette colors() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0, 0, 0));
    palette.setColor(QPalette::WindowText, QColor(200, 100, 0));
    palette.setColor(QPalette::Base, QColor(1, 2, 3));
    palette.setColor(QPalette::Highlight, QColor(100, 150, 200));
    palette.setColor(QPalette::HighlightedText, QColor(4, 5, 6));
    return palette;
}

template <class Option> Option optionWith(QStyle::State state, const QSize &size) {
    Option option;
    option.palette = colors();
    option.rect = {{10, 20}, size};
    option.state = state;
    return option;
}

Lines defaultButton(QStyle::State state) {
    auto option = optionWith<QStyleOptionButton>(state | QStyle::State_Enabled, {100, 30});
    option.features = QStyleOptionButton::DefaultButton;
    option.text = QStringLiteral("Install");
    return paintedBy(
        [&](QPainter &painter) { kyb::BareStyle().drawControl(QStyle::CE_PushButton, &option, &painter, nullptr); });
}

Lines checkBox(QStyle::State state) {
    const auto option = optionWith<QStyleOptionButton>(state, {16, 16});
    return paintedBy([&](QPainter &painter) {
        kyb::BareStyle().drawPrimitive(QStyle::PE_IndicatorCheckBox, &option, &painter, nullptr);
    });
}

/// A bar from 100 to 300.
Lines bar(QStyle::ControlElement element, int progress, Qt::LayoutDirection direction = Qt::LeftToRight) {
    auto option = optionWith<QStyleOptionProgressBar>(QStyle::State_Enabled, {100, 30});
    option.direction = direction;
    option.minimum = 100;
    option.maximum = 300;
    option.progress = progress;
    return paintedBy([&](QPainter &painter) { kyb::BareStyle().drawControl(element, &option, &painter, nullptr); });
}

Lines spinner(Qt::LayoutDirection direction) {
    kyb::Spinner spinner;
    spinner.setLayoutDirection(direction);
    spinner.setPalette(colors());
    spinner.resize(100, 50);
    return paintedBy(spinner);
}

Lines border(kyb::Color color) {
    kyb::BorderBox box;
    box.resize(100, 50);
    box.setBorderColor(color);
    return paintedBy(box);
}

struct Row {
    const char *name;
    Lines (*paint)();
    Lines lines;
};

void PrintTo(const Row &row, std::ostream *stream) {
    *stream << row.name;
}

const Row kRows[] = {
    {"DefaultButton",
     [] { return defaultButton({}); },
     {"path 11,21 98x28 from 11,24, 246.9 long, brush #ff6496c8", "text Install, #ff040506"}},
    {"DefaultButtonUnderTheMouse",
     [] { return defaultButton(QStyle::State_MouseOver); },
     {"path 11,21 98x28 from 11,24, 246.9 long, brush #ff5d8bb9", "text Install, #ff040506"}},
    {"DefaultButtonPressed",
     [] { return defaultButton(QStyle::State_MouseOver | QStyle::State_Sunken); },
     {"path 11,21 98x28 from 11,24, 246.9 long, brush #ff5078a0", "text Install, #ff040506"}},
    {"DefaultButtonFocusedByTheMouse",
     [] { return defaultButton(QStyle::State_HasFocus); },
     {"path 11,21 98x28 from 11,24, 246.9 long, brush #ff6496c8", "text Install, #ff040506"}},
    {"DefaultButtonFocusedByTheKeyboard",
     [] { return defaultButton(kKeyboardFocus); },
     {"path 11,21 98x28 from 11,24, 246.9 long, brush #ff6496c8",
      "path 13.5,23.5 93x23 from 13.5,25.5, 228.6 long, pen #ff040506 1.5", "text Install, #ff040506"}},
    {"CheckBox",
     [] { return checkBox(QStyle::State_Enabled); },
     {"path 11,21 14x14 from 11,24, 50.9 long, pen #ff783c00 1, brush #ff010203"}},
    {"CheckBoxChecked",
     [] { return checkBox(QStyle::State_Enabled | QStyle::State_On); },
     {"path 11,21 14x14 from 11,24, 50.9 long, pen #ff6496c8 1, brush #ff6496c8",
      "line 14.36,28.42 17.02,31.08 21.78,25.2, pen #ff040506 1.75 round, brush #ff6496c8"}},
    {"CheckBoxFocusedByTheKeyboard",
     [] { return checkBox(QStyle::State_Enabled | kKeyboardFocus); },
     {"path 11,21 14x14 from 11,24, 50.9 long, pen #ffc86400 2, brush #ff010203"}},
    {"CheckBoxDisabled",
     [] { return checkBox({}); },
     {"path 11,21 14x14 from 11,24, 50.9 long, pen #ff783c00 1, brush #ff010203, opacity 0.5"}},
    {"ProgressGroove",
     [] { return bar(QStyle::CE_ProgressBarGroove, 150); },
     {"path 10,20 100x30 from 10,35, 234.4 long, brush #ff241200"}},
    {"ProgressNone", [] { return bar(QStyle::CE_ProgressBarContents, 100); }, {}},
    {"ProgressRoundFromItsBeginning",
     [] { return bar(QStyle::CE_ProgressBarContents, 101); },
     {"path 10,20 30x30 from 10,35, 94.4 long, brush #ff6496c8"}},
    {"ProgressHalf",
     [] { return bar(QStyle::CE_ProgressBarContents, 200); },
     {"path 10,20 50x30 from 10,35, 134.4 long, brush #ff6496c8"}},
    {"ProgressHalfFromTheRight",
     [] { return bar(QStyle::CE_ProgressBarContents, 200, Qt::RightToLeft); },
     {"path 60,20 50x30 from 60,35, 134.4 long, brush #ff6496c8"}},
    {"BorderRed", [] { return border(kyb::Color::Red); }, {"path 1,1 98x48 from 1,9, 278.4 long, pen #ffff0000 2"}},
    {"BorderBlack", [] { return border(kyb::Color::Black); }, {"path 1,1 98x48 from 1,9, 278.4 long, pen #ff000000 2"}},
    {"BorderClear", [] { return border(kyb::Color::Clear); }, {"path 1,1 98x48 from 1,9, 278.4 long, pen #00000000 2"}},
    {"Spinner",
     [] { return spinner(Qt::LeftToRight); },
     {"path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 0, brush #ffc86400",
      "path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 30, brush #ffc86400, opacity 0.2",
      "path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 60, brush #ffc86400, opacity 0.2",
      "path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 90, brush #ffc86400, opacity 0.2",
      "path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 120, brush #ffc86400, opacity 0.272727",
      "path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 150, brush #ffc86400, opacity 0.363636",
      "path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 180, brush #ffc86400, opacity 0.454545",
      "path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 210, brush #ffc86400, opacity 0.545455",
      "path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 240, brush #ffc86400, opacity 0.636364",
      "path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 270, brush #ffc86400, opacity 0.727273",
      "path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 300, brush #ffc86400, opacity 0.818182",
      "path 3.5,-0.75 4.5x1.5 from 3.5,0, 10.7 long, at 8,25 turned by 330, brush #ffc86400, opacity 0.909091"}},
};

class Painting : public WizardTest, public testing::WithParamInterface<Row> {};

TEST_P(Painting, IsTheWholeList) {
    EXPECT_THAT(GetParam().paint(), testing::ContainerEq(GetParam().lines));
}

INSTANTIATE_TEST_SUITE_P(Controls, Painting, testing::ValuesIn(kRows), [](const auto &row) { return row.param.name; });

TEST_F(WizardTest, AButtonIsAsMuchWiderAsItsTitleKeepsClear) {
    const std::unique_ptr<QStyle> toolkits(QStyleFactory::create(QStringLiteral("fusion")));
    const QStyleOptionButton option;
    const auto grown = [&](QStyle::ContentsType type) {
        return kyb::BareStyle().sizeFromContents(type, &option, {80, 20}, nullptr) -
               toolkits->sizeFromContents(type, &option, {80, 20}, nullptr);
    };
    EXPECT_EQ(grown(QStyle::CT_PushButton), QSize(24, 0));
    EXPECT_EQ(grown(QStyle::CT_CheckBox), QSize(0, 0));
}

TEST_F(WizardTest, ASpinnerStandsAtItsTextsSide) {
    EXPECT_THAT(spinner(Qt::RightToLeft), testing::Contains(testing::HasSubstr("at 92,25 turned by 0,")));
}

} // namespace
