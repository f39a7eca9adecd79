#pragma once
// What the tests, the benchmarks and the simulated desktop need of the activity journal and
// the app never does: starting again from an empty journal, as a fresh launch of the app
// would, within one process; and the journal's limit, to check it.

#include <cstddef>

#include "settings/Activity.h"

namespace quelto {

class ActivityTestSeam {
  public:
    ActivityTestSeam() = delete;

    // Empties the shared journal without posting a change: nothing shows it yet.
    static void startEmpty() { Activity::shared().entries_.clear(); }

    static constexpr std::size_t limit() { return Activity::limit; }
};

}  // namespace quelto
