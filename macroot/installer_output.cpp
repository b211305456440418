#include "installer_output.h"

#include "texts.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

namespace kyb::macroot {
namespace {

constexpr std::string_view kPackageNameMark = "NAME";

struct PhaseText {
    Phase phase;
    std::string_view text;
};

constexpr auto kPhaseTexts = std::to_array<PhaseText>({
    {Phase::PreparingInstallation, "Preparing for installation\u2026"},
    {Phase::PreparingDisk, "Preparing the disk\u2026"},
    {Phase::PreparingPackage, "Preparing NAME\u2026"},
    {Phase::WaitingForOthers, "Waiting for other installations to complete\u2026"},
    {Phase::Configuring, "Configuring the installation\u2026"},
    {Phase::RunningScripts, "Running package scripts\u2026"},
    {Phase::WritingFiles, "Writing files\u2026"},
    {Phase::MovingIntoPlace, "Moving items into place\u2026"},
    {Phase::Validating, "Validating packages\u2026"},
    {Phase::WritingReceipts, "Writing package receipts\u2026"},
    {Phase::RegisteringApplications, "Registering updated applications\u2026"},
    {Phase::Finishing, "Finishing the Installation\u2026"},
    {Phase::CleaningUp, "Cleaning up\u2026"},
    {Phase::Optimising, "Optimising system for installed software\u2026"},
    {Phase::Installed, "The software was successfully installed."},
});

constexpr bool standsAtItsNumber() {
    for (std::size_t i = 0; i < kPhaseTexts.size(); ++i) {
        if (static_cast<std::size_t>(kPhaseTexts[i].phase) != i) {
            return false;
        }
    }
    return true;
}
static_assert(standsAtItsNumber(), "phaseLine() takes a phase's row by its number");

std::string_view kindText(InstallKind kind) {
    return kind == InstallKind::Upgrade ? "upgrade" : "install";
}

} // namespace

std::string phaseLine(Phase phase, std::string_view packageName) {
    std::string line = "installer:PHASE:";
    line += kPhaseTexts.at(static_cast<std::size_t>(phase)).text;
    if (phase == Phase::PreparingPackage) {
        line.replace(line.find(kPackageNameMark), kPackageNameMark.size(), packageName);
    }
    return line;
}

std::string successLine(InstallKind kind) {
    return "installer: The " + std::string(kindText(kind)) + " was successful.";
}

std::string failureLine(InstallKind kind, std::string_view reason) {
    return "installer: The " + std::string(kindText(kind)) + " failed. (" + std::string(reason) + ")";
}

std::optional<std::string> PercentMeter::add(std::size_t bytes) {
    writtenBytes_ += static_cast<std::int64_t>(bytes);
    const double percent = 100.0 * static_cast<double>(writtenBytes_) / static_cast<double>(totalBytes_);
    return writtenBytes_ >= totalBytes_ || std::floor(percent) > shownPercent_ ? reached(percent) : std::nullopt;
}

std::optional<std::string> PercentMeter::finish() {
    return reached(100);
}

std::optional<std::string> PercentMeter::reached(double percent) {
    if (percent <= shownPercent_) {
        return std::nullopt;
    }
    shownPercent_ = percent;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "installer:%%%f", percent);
    return text.data();
}

InstallerOutput::InstallerOutput(Verbosity verbosity, std::string packageName)
    : verbosity_(verbosity), packageName_(std::move(packageName)) {}

void InstallerOutput::line(std::string_view text) const {
    std::puts(printable(text).c_str());
    std::fflush(stdout);
}

void InstallerOutput::phase(Phase phase) const {
    verboseLine(phaseLine(phase, packageName_));
}

void InstallerOutput::status() const {
    verboseLine("installer:STATUS:");
}

void InstallerOutput::percent(const std::optional<std::string> &line) const {
    if (line) {
        verboseLine(*line);
    }
}

void InstallerOutput::verboseLine(std::string_view text) const {
    if (verbosity_ == Verbosity::Verbose) {
        line(text);
    }
}

} // namespace kyb::macroot
