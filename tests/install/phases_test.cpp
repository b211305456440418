#include "install/phases.h"

#include <gtest/gtest.h>

namespace {

using kyb::InstallerLine;

/// The texts to their last letter, in the order of the table.
struct PhaseRow {
    const char *text;
    const char *key;
    const char *keyWithoutLastLetter = ""; ///< empty: there is none
};

constexpr PhaseRow kRows[] = {
    {"Writing files", "PHASE_WriteFiles"},
    {"Running package scripts", "PHASE_RunScripts"},
    {"Preparing for install", "PHASE_PrepareInstall", "PHASE_PrepareInstall"},
    {"Preparing the disk", "PHASE_PrepareDisk", "PHASE_PrepareInstall"},
    {"Preparing", "PHASE_PrepareInstall"},
    {"Waiting for other", "PHASE_Wait"},
    {"Configuring", "PHASE_Configure"},
    {"Moving items into place", "PHASE_MovingItems"},
    {"Cleaning up", "PHASE_Cleaning"},
    {"Writing package receipts", "PHASE_WritingPkg"},
    {"Registering updated applications", "PHASE_Registering"},
    {"Validating", "PHASE_ValidatePkgs"},
    {"Running installer", "PHASE_RunInstallActions"},
    {"Finishing the Install", "PHASE_FinishInstall"},
    {"Optimising system", "PHASE_Optimising"},
};

TEST(Phases, EachRowCountsToItsLastLetterAndNoFurther) {
    for (const PhaseRow &row : kRows) {
        const QString text = QString::fromLatin1(row.text);
        const QString cut = text.chopped(1);
        const QString keyOfCut = QString::fromLatin1(row.keyWithoutLastLetter);
        EXPECT_EQ(kyb::phaseKey(text), QString::fromLatin1(row.key)) << row.text;
        EXPECT_EQ(kyb::phaseKey(cut), keyOfCut.isEmpty() ? cut : keyOfCut) << row.text;
    }
}

TEST(Phases, TheFirstRowWhoseTextBeginsTheLineGivesTheKey) {
    const PhaseRow rows[] = {
        {"Writing files\u2026", "PHASE_WriteFiles"},
        {"Running package scripts\u2026", "PHASE_RunScripts"},
        {"Preparing for installation\u2026", "PHASE_PrepareInstall"},
        {"Preparing the disk\u2026", "PHASE_PrepareDisk"},
        {"Preparing Brelund Quorlix Driver\u2026", "PHASE_PrepareInstall"},
        {"Preparing", "PHASE_PrepareInstall"},
        {"Waiting for other installations to complete\u2026", "PHASE_Wait"},
        {"Configuring the installation\u2026", "PHASE_Configure"},
        {"Moving items into place\u2026", "PHASE_MovingItems"},
        {"Cleaning up\u2026", "PHASE_Cleaning"},
        {"Writing package receipts\u2026", "PHASE_WritingPkg"},
        {"Registering updated applications\u2026", "PHASE_Registering"},
        {"Validating packages\u2026", "PHASE_ValidatePkgs"},
        {"Running installer actions\u2026", "PHASE_RunInstallActions"},
        {"Finishing the Installation\u2026", "PHASE_FinishInstall"},
        {"Optimising system for installed software\u2026", "PHASE_Optimising"},
    };
    for (const PhaseRow &row : rows) {
        EXPECT_EQ(kyb::phaseKey(QString::fromUtf8(row.text)), QString::fromLatin1(row.key)) << row.text;
    }
}

TEST(Phases, ATextOfNoRowIsKeptAsItIs) {
    for (const char *text :
         {"InstallFailed", "Checking packages\n", "writing files", " Writing files", "Prepar", "\n"}) {
        EXPECT_EQ(kyb::phaseKey(QString::fromUtf8(text)), QString::fromUtf8(text));
    }
}

/// The same of what marks a line.
TEST(InstallerLine, EachMarkCountsToItsLastLetterAndNoFurther) {
    struct Row {
        const char *text;
        InstallerLine meaning;
        QString textWithoutLastLetter; ///< what is shown then
    };
    const QString failed = QStringLiteral("InstallFailed");
    const Row rows[] = {
        {"installer: The install failed", {failed, true}, {}},
        {"installer: The upgrade failed", {failed, true}, {}},
        {"installer: Certificate used to sign package is not trusted", {failed, true}, {}},
        {"installer: Error - the package path specified was invalid:", {failed, true}, {}},
        {"installer:PHASE:The software was successfully installed",
         {QString(), false},
         QStringLiteral("The software was successfully installe")},
        {"installer:%", {QStringLiteral("PHASE_RunScripts"), false}, {}},
    };
    for (const Row &row : rows) {
        const QString text = QString::fromLatin1(row.text);
        const InstallerLine whole = kyb::readInstallerLine(text, false);
        EXPECT_EQ(whole.phaseText, row.meaning.phaseText) << row.text;
        EXPECT_EQ(whole.marksFailure, row.meaning.marksFailure) << row.text;
        const InstallerLine cut = kyb::readInstallerLine(text.chopped(1), false);
        EXPECT_EQ(cut.phaseText, row.textWithoutLastLetter) << row.text;
        EXPECT_FALSE(cut.marksFailure) << row.text;
    }
    EXPECT_EQ(kyb::readInstallerLine(QStringLiteral("installer:PHASE x"), false).phaseText, QString());
    EXPECT_EQ(kyb::readInstallerLine(QStringLiteral("installer:STATUS x"), false).phaseText, QString());
}

struct LineRow {
    const char *line;
    const char *phaseText;
    bool marksFailure;
};

TEST(InstallerLine, GivesItsPhaseText) {
    const LineRow rows[] = {
        {"installer:PHASE:Preparing for installation\u2026\n", "Preparing for installation\u2026\n", false},
        {"installer:PHASE:\n", "\n", false},
        {"installer:PHASE:", "", false},
        {"installer:PHASE:The software was successfully installed.\n", "", false},
        {"installer:STATUS:Running installer actions\n", "Running installer actions\n", false},
        {"installer:STATUS:\n", "\n", false}, // an empty status line yields a text of one line end
        {"installer:%45.300000\n", "PHASE_RunScripts", false},
        {"installer:%", "PHASE_RunScripts", false},
        {"installer: Package name is Quorlix\n", "", false},
        {" installer:PHASE:x", "", false}, // trimmed before, so a blank here does not count
        {"", "", false},
        {"installer: The install failed. (reason)\n", "InstallFailed", true},
        {"installer: The upgrade failed. (reason)\n", "InstallFailed", true},
        {"installer: Certificate used to sign package is not trusted. Use -allowUntrusted\n", "InstallFailed", true},
        {"installer: Error - the package path specified was invalid: '/x'.\n", "InstallFailed", true},
        {"x installer: The install failed", "InstallFailed", true},
        {"installer:PHASE:installer: The install failed", "InstallFailed", true}, // the later step wins
        {"INSTALLER: THE INSTALL FAILED", "", false},
        {"installer: The install was successful.\n", "", false},
    };
    for (const LineRow &row : rows) {
        const InstallerLine line = kyb::readInstallerLine(QString::fromUtf8(row.line), false);
        EXPECT_EQ(line.phaseText, QString::fromUtf8(row.phaseText)) << row.line;
        EXPECT_EQ(line.marksFailure, row.marksFailure) << row.line;
    }
}

TEST(InstallerLine, AnInstallationThatHasFailedSaysSoUnlessTheLineHasATextOfItsOwn) {
    EXPECT_EQ(kyb::readInstallerLine(QStringLiteral("anything"), true).phaseText, QStringLiteral("InstallFailed"));
    EXPECT_EQ(kyb::readInstallerLine(QString(), true).phaseText, QStringLiteral("InstallFailed"));
    EXPECT_EQ(kyb::readInstallerLine(QStringLiteral("installer:PHASE:Writing files"), true).phaseText,
              QStringLiteral("Writing files"));
    EXPECT_FALSE(kyb::readInstallerLine(QStringLiteral("anything"), true).marksFailure);
}

TEST(InstallerLine, ALineThatIsNoTextMarksAFailure) {
    const InstallerLine line = kyb::readInstallerLine(std::nullopt, false);
    EXPECT_EQ(line.phaseText, QStringLiteral("InstallFailed"));
    EXPECT_TRUE(line.marksFailure);
}

TEST(LineText, TrimsBlanksAndTabsButNeverTheLineEnd) {
    EXPECT_EQ(kyb::lineText(" \t a b \t"), QStringLiteral("a b"));
    EXPECT_EQ(kyb::lineText("\xc2\xa0 a"), QStringLiteral("a"));
    EXPECT_EQ(kyb::lineText(" a \n"), QStringLiteral("a \n"));
    EXPECT_EQ(kyb::lineText("\n"), QStringLiteral("\n"));
    EXPECT_EQ(kyb::lineText(" \t "), QString());
    EXPECT_EQ(kyb::lineText(""), QString());
}

TEST(LineText, IsNothingWhenTheBytesAreNotUtf8) {
    EXPECT_EQ(kyb::lineText("a\xff"), std::nullopt);
    EXPECT_EQ(kyb::lineText("a\xc3"), std::nullopt); // cut in the middle of a character
    EXPECT_EQ(kyb::lineText("a\xc3\xa4"), QStringLiteral("aä"));
}

} // namespace
