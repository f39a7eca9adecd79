#include "settings/Activity.h"

#include "platform/NotificationCenter.h"

namespace quelto {

Activity& Activity::shared() {
    // Never destroyed, so nothing that records during process exit finds it gone.
    static Activity* activity = new Activity();
    return *activity;
}

void Activity::record(const Entry& entry) {
    entries_.insert(entries_.begin(), entry);
    if (entries_.size() > limit) entries_.resize(limit);
    NotificationCenter::defaultCenter().post(changed);
}

}  // namespace quelto
