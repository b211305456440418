#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace kyb {

/// A descriptor of a program that leads nowhere: to be read as standard input, to be written as any other.
/// NB: not -1, which is what an empty UniqueFd gives: that is a mistake, and the program is not started.
inline constexpr int kDevNull = -2;

/// The process group and session in which a program starts.
enum class ProcessGroup { Inherited, Own, OwnSession };

/// How a program starts. Whatever this process ignores or blocks, it starts with the default signals and none blocked.
struct SpawnOptions {
    /// The program's absolute path, and what follows it.
    std::vector<std::string> arguments = {};

    /// "NAME=value", and nothing else; this process's environment when there is none.
    std::optional<std::vector<std::string>> environment = {};

    /// What the program has as its descriptors 0, 1, 2, ...: descriptors of this process or `kDevNull`. It gets no
    /// other. Empty: it inherits every descriptor that does not close itself.
    std::vector<int> descriptors = {};

    ProcessGroup group = ProcessGroup::Inherited;

    /// Another program's group, in place of the `Own`; 0: a new one.
    pid_t joinedGroup = 0;

    /// This process's own when it is empty.
    std::string workingFolder = {};
};

/// Starts a program, for which the caller has to wait at its end. Any thread.
/// \return its process; nothing, with the reason in errno, when it cannot be started.
std::optional<pid_t> spawn(const SpawnOptions &options);

} // namespace kyb
