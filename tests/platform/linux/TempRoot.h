#pragma once

#include <string>

namespace kyb::test {

/// A folder of its own that plays "/" for one test. Whatever runs out of it is killed at its end, and it is removed.
class TempRoot {
public:
    /// \param padding a name put between the system's folder for temporary files and the root, to make its name longer.
    explicit TempRoot(const std::string &padding = "");
    ~TempRoot();
    TempRoot(const TempRoot &) = delete;
    TempRoot &operator=(const TempRoot &) = delete;

    const std::string &path() const { return path_; }
    std::string at(const std::string &fixedPath) const { return path_ + fixedPath; }
    std::string progressFile() const;
    std::string helperFile() const;

    /// Puts the program at \p program at the helper's registered place.
    void registerHelper(const std::string &program) const;

    /// How many processes run the registered helper.
    int runningHelpers() const;

    /// Kills them, and returns when they are gone.
    void killHelpers() const;

    /// Back to how it was made: no helper, no file.
    void clear() const;

private:
    std::string top_;
    std::string path_;
};

/// The content of the file at \p path; empty when there is none.
std::string contentOf(const std::string &path);

} // namespace kyb::test
