#pragma once
// The in-memory journal of close decisions shown by the interface: newest first, at most
// 200 entries, not persisted.

#include <string>
#include <vector>

#include "platform/Types.h"

namespace quelto {

class Activity {
  public:
    // "QueltoActivityChanged", posted after every record.
    static constexpr const char* changed = "QueltoActivityChanged";

    struct Entry {
        Date at;
        std::string app;
        std::string bundleID;
        std::string cause;
        long windowsLeft = 0;
        std::string outcome;
        bool quit = false;

        friend bool operator==(const Entry&, const Entry&) = default;
    };

    static Activity& shared();

    // Adds the entry as the newest, trims to the limit, posts `changed` synchronously.
    void record(const Entry& entry);

    // Newest first; a read-only view.
    const std::vector<Entry>& entries() const { return entries_; }

    // Empties the journal (a fresh launch of the simulator in the same process).
    void reset() { entries_.clear(); }

    static constexpr std::size_t limit = 200;

  private:
    std::vector<Entry> entries_;
};

}  // namespace quelto
