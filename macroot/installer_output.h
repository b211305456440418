#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kyb::macroot {

/// The steps that the verbose output names. "Preparing the package" carries the package's name.
enum class Phase {
    PreparingInstallation,
    PreparingDisk,
    PreparingPackage,
    WaitingForOthers,
    Configuring,
    RunningScripts,
    WritingFiles,
    MovingIntoPlace,
    Validating,
    WritingReceipts,
    RegisteringApplications,
    Finishing,
    CleaningUp,
    Optimising,
    Installed,
};

std::string phaseLine(Phase phase, std::string_view packageName);

enum class InstallKind { Install, Upgrade };
std::string successLine(InstallKind kind);
std::string failureLine(InstallKind kind, std::string_view reason);

/// The share of the payload that is written, as lines "installer:%" with six decimals: one for every whole percent that
/// was reached, and one for the end.
class PercentMeter {
public:
    explicit PercentMeter(std::int64_t totalBytes) : totalBytes_(totalBytes) {}

    /// The line to print after these bytes, if any.
    std::optional<std::string> add(std::size_t bytes);
    /// The line for the end: all is written. Nothing when add() gave it already.
    std::optional<std::string> finish();

private:
    std::optional<std::string> reached(double percent);

    std::int64_t totalBytes_;
    std::int64_t writtenBytes_ = 0;
    double shownPercent_ = -1;
};

enum class Verbosity { Plain, Verbose };

/// Standard output, written line by line. The plain lines are always printed, the others only when verbose.
class InstallerOutput {
public:
    InstallerOutput(Verbosity verbosity, std::string packageName);

    void line(std::string_view text) const;
    void phase(Phase phase) const;
    void status() const;
    void percent(const std::optional<std::string> &line) const;

private:
    void verboseLine(std::string_view text) const;

    Verbosity verbosity_;
    std::string packageName_;
};

} // namespace kyb::macroot
