#include "settings/Activity.h"

#include "platform/NotificationCenter.h"

namespace quelto {

Activity& Activity::shared() {
    // Never destroyed, so nothing that records during process exit finds it gone.
    static Activity* activity = new Activity();
    return *activity;
}

void Activity::record(const Entry& entry) {
    entries_.push_front(entry);
    while (entries_.size() > limit) entries_.pop_back();
    NotificationCenter::defaultCenter().post(changed);
}

}  // namespace quelto
