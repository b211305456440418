// installer -pkg PATH -target / [-verboseR]: installs a flat package below the root folder that this program lies in.

#include "install_error.h"
#include "installation.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <span>

namespace {

using namespace kyb::macroot;

struct Arguments {
    std::string packagePath;
    std::string target;
    Verbosity verbosity = Verbosity::Plain;
};

std::optional<Arguments> parseArguments(std::span<char *> words) {
    Arguments arguments;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string word = words[i];
        if (word == "-verboseR") {
            arguments.verbosity = Verbosity::Verbose;
        } else if ((word == "-pkg" || word == "-target") && i + 1 < words.size()) {
            (word == "-pkg" ? arguments.packagePath : arguments.target) = words[++i];
        } else {
            return std::nullopt;
        }
    }
    return arguments.packagePath.empty() || arguments.target.empty() ? std::nullopt : std::optional(arguments);
}

// The folder that plays "/", without a slash at its end: this program is its /usr/sbin/installer.
std::optional<std::string> rootFolder() {
    constexpr std::string_view ownPlace = "/usr/sbin/installer";
    std::error_code error;
    std::string program = std::filesystem::read_symlink("/proc/self/exe", error).string();
    if (error || !program.ends_with(ownPlace)) {
        return std::nullopt;
    }
    program.resize(program.size() - ownPlace.size());
    return program;
}

int refuse(const std::string &line) {
    std::fprintf(stderr, "%s\n", line.c_str());
    return 1;
}

int install(const Arguments &arguments, const std::string &root, const SignalWatch &signals) {
    const FlatPackage package(std::filesystem::absolute(arguments.packagePath).string(), [&] { signals.check(); });
    const InstallerOutput output(arguments.verbosity, package.title());
    output.line("installer: Package name is " + package.title());
    output.line("installer: Installing at base path /");
    Installation installation(package, root, output, signals);
    try {
        installation.run();
    } catch (const InstallError &error) {
        output.line(failureLine(installation.kind(), error.what()));
        return 1;
    }
    output.line(successLine(installation.kind()));
    return 0;
}

int run(std::span<char *> words) {
    const std::optional<Arguments> arguments = parseArguments(words);
    if (!arguments) {
        return refuse("Usage: installer -pkg <path to package> -target / [-verboseR]");
    }
    const std::optional<std::string> root = rootFolder();
    if (!root) {
        return refuse("installer: this program does not lie at usr/sbin/installer of a root folder");
    }
    const InstallerOutput output(arguments->verbosity, {});
    if (arguments->target != "/") {
        output.line("installer: Error - the target specified is not supported: '" + arguments->target +
                    "'. The only target is /.");
        return 1;
    }
    const SignalWatch signals;
    try {
        return install(*arguments, *root, signals);
    } catch (const NotAPackage &) {
        output.line("installer: Error - the package path specified was invalid: '" + arguments->packagePath + "'.");
    } catch (const std::exception &error) {
        output.line(failureLine(InstallKind::Install, error.what()));
    }
    return 1;
}

} // namespace

int main(int argc, char **argv) {
    std::setlocale(LC_CTYPE, "C.UTF-8"); // libarchive turns names into this character set
    std::signal(SIGPIPE, SIG_IGN);       // nobody needs to listen for the installation to go on
    std::signal(SIGXFSZ, SIG_IGN);       // a file that may not grow is an error as any other
    umask(022);
    return run({argv, static_cast<std::size_t>(argc)});
}
