#include "install/phases.h"

#include "channel/failure_texts.h"
#include "text/utf8.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace kyb {
namespace {

struct PhaseRow {
    std::u16string_view begin;
    std::u16string_view key;
};

// clang-format off
/// The first row that matches counts.
constexpr PhaseRow kPhases[] = {
    {u"Writing files",                    u"PHASE_WriteFiles"},
    {u"Running package scripts",          u"PHASE_RunScripts"},
    {u"Preparing for install",            u"PHASE_PrepareInstall"},
    {u"Preparing the disk",               u"PHASE_PrepareDisk"},
    {u"Preparing",                        u"PHASE_PrepareInstall"},
    {u"Waiting for other",                u"PHASE_Wait"},
    {u"Configuring",                      u"PHASE_Configure"},
    {u"Moving items into place",          u"PHASE_MovingItems"},
    {u"Cleaning up",                      u"PHASE_Cleaning"},
    {u"Writing package receipts",         u"PHASE_WritingPkg"},
    {u"Registering updated applications", u"PHASE_Registering"},
    {u"Validating",                       u"PHASE_ValidatePkgs"},
    {u"Running installer",                u"PHASE_RunInstallActions"},
    {u"Finishing the Install",            u"PHASE_FinishInstall"},
    {u"Optimising system",                u"PHASE_Optimising"},
};
// clang-format on

/// Whether every row can be reached: none begins with the text of an earlier one.
constexpr bool everyRowCounts() {
    for (std::size_t later = 0; later < std::size(kPhases); ++later) {
        for (std::size_t earlier = 0; earlier < later; ++earlier) {
            if (kPhases[later].begin.substr(0, kPhases[earlier].begin.size()) == kPhases[earlier].begin) {
                return false;
            }
        }
    }
    return true;
}
static_assert(everyRowCounts());

constexpr QStringView kPhaseLine = u"installer:PHASE:";
constexpr QStringView kSuccessLine = u"installer:PHASE:The software was successfully installed";
constexpr QStringView kStatusLine = u"installer:STATUS:";
constexpr QStringView kPercentLine = u"installer:%";

bool holdsFailureText(const QString &line) {
    return std::any_of(std::begin(kFailureTexts), std::end(kFailureTexts), [&](std::string_view text) {
        return line.contains(QLatin1String(text.data(), static_cast<qsizetype>(text.size())));
    });
}

bool isBlank(QChar character) {
    return character == u'\t' || character.category() == QChar::Separator_Space;
}

} // namespace

QString phaseKey(const QString &text) {
    const auto *row = std::find_if(std::begin(kPhases), std::end(kPhases), [&](const PhaseRow &candidate) {
        return text.startsWith(QStringView(candidate.begin));
    });
    return row == std::end(kPhases) ? text : QStringView(row->key).toString();
}

InstallerLine readInstallerLine(const std::optional<QString> &line, bool alreadyFailed) {
    const QString failed = QStringLiteral("InstallFailed");
    if (!line || holdsFailureText(*line)) {
        return {failed, true};
    }
    InstallerLine result{alreadyFailed ? failed : QString(), false};
    if (line->startsWith(kPhaseLine) && !line->startsWith(kSuccessLine)) {
        result.phaseText = line->sliced(kPhaseLine.size());
    }
    if (line->startsWith(kStatusLine)) {
        result.phaseText = line->sliced(kStatusLine.size());
    }
    if (line->startsWith(kPercentLine)) {
        result.phaseText = QStringLiteral("PHASE_RunScripts"); // NB: the number in the line is not what is shown
    }
    return result;
}

std::optional<QString> lineText(const char *buffer) {
    const std::optional<QString> text = fromUtf8(buffer);
    if (!text) {
        return {};
    }
    QStringView trimmed = *text;
    while (!trimmed.isEmpty() && isBlank(trimmed.front())) {
        trimmed = trimmed.sliced(1);
    }
    while (!trimmed.isEmpty() && isBlank(trimmed.back())) {
        trimmed.chop(1);
    }
    return trimmed.toString();
}

} // namespace kyb
