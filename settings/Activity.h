#pragma once
// The in-memory journal of close decisions shown by the interface: newest first, at most
// 200 entries, not persisted. It changes only through `record`; everyone else reads.

#include <cstddef>
#include <deque>
#include <string>

#include "platform/Types.h"

namespace quelto {

class ActivityTestSeam;

class Activity {
  public:
    // "QueltoActivityChanged", posted after every record.
    static constexpr const char* changed = "QueltoActivityChanged";

    // One decision, built with all its fields at once and never changed afterwards.
    struct Entry {
        const Date at;
        const std::string app;
        const std::string bundleID;
        const std::string cause;
        const long windowsLeft = 0;
        const std::string outcome;
        const bool quit = false;

        friend bool operator==(const Entry&, const Entry&) = default;
    };
    // Newest first. A deque, so an entry goes in at the front without moving the others.
    using Entries = std::deque<Entry>;

    static Activity& shared();

    // Adds the entry as the newest, trims to the limit, posts `changed` synchronously.
    void record(const Entry& entry);

    // Newest first; a read-only view.
    const Entries& entries() const { return entries_; }

    Activity(const Activity&) = delete;
    Activity& operator=(const Activity&) = delete;

  private:
    Activity() = default;

    // The most entries kept.
    static constexpr std::size_t limit = 200;

    Entries entries_;

    // Tests, benchmarks and the simulated desktop start each run from an empty journal, as
    // a fresh launch does.
    friend class ActivityTestSeam;
};

}  // namespace quelto
