#include "Transcript.h"

#include "support/RootFolder.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

const fs::path kFolder = KYB_TRANSCRIPTS;
const std::string kKeyEnd = ": ";

std::string contentOf(const fs::path &file) {
    if (!fs::is_regular_file(file)) {
        throw std::runtime_error("there is no " + file.string());
    }
    return kyb::test::contentOf(file);
}

/// \p text in pieces, each with the line end that it has.
std::vector<std::string> linesOf(std::string text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, end));
        text.erase(0, end);
    }
    return lines;
}

/// \p text with "\n" and "\r" made what they stand for; "nothing" is an empty one.
std::string unescaped(std::string text) {
    if (text == "nothing") {
        return {};
    }
    const std::map<std::string, std::string> escapes{{"\\n", "\n"}, {"\\r", "\r"}};
    for (const auto &[name, character] : escapes) {
        for (std::size_t at = 0; (at = text.find(name, at)) != std::string::npos; ++at) {
            text.replace(at, name.size(), character);
        }
    }
    return text;
}

/// Takes the rows of an expectation.
class Reader {
public:
    explicit Reader(Transcript &transcript) : transcript_(transcript), record_(transcript.lines) {}

    void read(const std::string &row) {
        if (row.empty() || row.starts_with('#')) {
            return;
        }
        const std::size_t end = row.find(kKeyEnd);
        std::istringstream key(row.substr(0, end));
        std::string name;
        std::size_t line = 0;
        key >> name >> line;
        if (end == std::string::npos || !rows_.contains(name)) {
            throw std::runtime_error("no row: " + row);
        }
        seen_.insert(name);
        rows_.at(name)(line, row.substr(end + kKeyEnd.size()));
    }

    void finish() {
        for (const char *name : {"ends", "adds", "log", "status"}) {
            if (!seen_.contains(name)) {
                throw std::runtime_error("there is no row: " + std::string(name));
            }
        }
        for (const std::string &line : record_) {
            transcript_.record += line.ends_with('\n') ? line : line + '\n';
        }
    }

private:
    using Row = std::function<void(std::size_t line, const std::string &value)>;

    void addSaying(std::size_t line, const std::string &value) {
        transcript_.sayings.push_back({line, unescaped(value)});
    }

    Transcript &transcript_;
    std::vector<std::string> record_;
    std::set<std::string> seen_;
    const std::map<std::string, Row> rows_{
        {"ends", [this](auto, auto &value) { transcript_.installersEnd = value; }},
        {"line", [this](auto line, auto &value) { addSaying(line, value); }},
        {"last", [this](auto, auto &value) { transcript_.ofLastLine = unescaped(value); }},
        {"reads", [this](auto line, auto &value) { record_.at(line - 1) = value; }},
        {"adds", [this](auto, auto &value) { record_.push_back(value); }},
        {"log", [this](auto, auto &value) { transcript_.reply = value; }},
        {"status", [this](auto, auto &value) { transcript_.status = std::stoi(value); }},
    };
};

/// A saying can be waited for when it differs from the one before. After the last one nothing may be left that the
/// program could meet or miss, but the last line.
void check(const Transcript &transcript) {
    Transcript::Saying before{0, "none"};
    for (const Transcript::Saying &saying : transcript.sayings) {
        if (saying.line <= before.line || saying.text == before.text) {
            throw std::runtime_error("not after, or the same as, the row before: line " + std::to_string(saying.line));
        }
        before = saying;
    }
    const std::vector<std::string> &lines = transcript.lines;
    const auto seen = lines.size() - (lines.empty() || lines.back().ends_with('\n') ? 0 : 1); // one by one, at least
    if (before.text != kInstallFailed && before.line + 1 < seen) {
        throw std::runtime_error("nothing is said of the next-to-last line");
    }
}

} // namespace

std::vector<std::string> transcriptNames() {
    std::set<std::string> names;
    std::error_code error;
    for (const auto &file : fs::directory_iterator(kFolder, error)) {
        if (file.path().filename() != "README.md") {
            names.insert(file.path().stem());
        }
    }
    return {names.begin(), names.end()};
}

Transcript readTranscript(const std::string &name) {
    Transcript transcript;
    transcript.lines = linesOf(contentOf(kFolder / (name + ".txt")));
    const std::string expectation = contentOf(kFolder / (name + ".expected"));
    if (expectation.find("\n# Shaped after ") == std::string::npos) {
        throw std::runtime_error("it is not said what it is shaped after");
    }
    Reader reader(transcript);
    std::istringstream rows(expectation);
    for (std::string row; std::getline(rows, row);) {
        reader.read(row);
    }
    reader.finish();
    check(transcript);
    return transcript;
}
