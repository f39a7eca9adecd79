#pragma once
// A private temporary home directory for one run of quelto-sim: made on construction, set
// as $HOME (with Library/Logs inside, as on a Mac), and removed with everything in it on
// destruction, when the previous $HOME is put back. Quelto's file paths are computed once
// per process from $HOME, so this must exist before anything touches the log or the
// configuration.

#include <optional>
#include <string>

namespace quelto::simtool {

class PrivateHome {
  public:
    // `keep`: leave the directory in place at the end (to look at the real files).
    explicit PrivateHome(bool keep = false);
    ~PrivateHome();
    PrivateHome(const PrivateHome&) = delete;
    PrivateHome& operator=(const PrivateHome&) = delete;

    // Empty when the directory could not be made.
    const std::string& path() const { return path_; }
    bool ok() const { return !path_.empty(); }

  private:
    std::string path_;
    std::optional<std::string> previous_;
    bool keep_;
};

}  // namespace quelto::simtool
