#pragma once

#include <string>
#include <vector>

/// What an installer said, and what must come of it: NAME.txt and NAME.expected in tests/transcripts, whose README.md
/// tells the format.
struct Transcript {
    /// What the program says of a line, whose number counts from 1.
    struct Saying {
        std::size_t line = 0;
        std::string text;
    };

    std::vector<std::string> lines; ///< as they are, with their line ends; the last may have none
    std::string installersEnd;      ///< the shell command that ends the installer
    std::vector<Saying> sayings;
    std::string ofLastLine; ///< what the program says of the progress file's next-to-last line, when all is over
    std::string record;     ///< the progress file, when all is over
    std::string reply;      ///< what the helper has logged of the installation's end
    int status = -1;        ///< the program's
};

inline constexpr char kInstallFailed[] = "InstallFailed";

/// The transcripts that are there, each with its expectation; a file without its other half is named as well.
std::vector<std::string> transcriptNames();

/// Throws std::runtime_error when one of the files is missing or not as it should be.
Transcript readTranscript(const std::string &name);
