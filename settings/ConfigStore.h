#pragma once
// The configuration file: where it is, reading it, rewriting it whole, and writing the
// template on the first run. Nothing keeps a long-lived copy of the settings: every consumer
// loads the file when it needs them, so hand edits take effect at once.

#include <optional>
#include <string>

#include "platform/MainQueue.h"
#include "settings/Config.h"

namespace quelto {

class ConfigStore {
  public:
    // `clock` names the aside copy of a file that could not be read (see `save`).
    explicit ConfigStore(Clock& clock);
    // The system clock.
    ConfigStore();

    // "~/Library/Application Support/Quelto" and its "config.txt", computed once per process.
    static const std::string& directory();
    static const std::string& path();

    // Reads the file; a missing, unreadable or undecodable file gives the defaults.
    Config load() const;
    // What is wrong with a file that is there but reads as the defaults because it cannot be
    // read ("is not valid UTF-8", …: words to follow "config.txt"); none when it is readable
    // or missing.
    std::optional<std::string> fileProblem() const;

    // Rewrites the whole file with `config` in canonical form, atomically. Failures are
    // swallowed. A file that is there but could not be read is first moved aside (and the
    // log says where), never written over; when it cannot be moved, nothing is saved.
    void save(const Config& config) const;

    // Writes the template when no file exists; true when it had to (even if the write failed).
    bool writeTemplateIfMissing() const;

  private:
    Clock& clock_;
};

}  // namespace quelto
