#include "platform/macos/MacLoginItem.h"

#import <ServiceManagement/ServiceManagement.h>

#include "platform/macos/NSStrings.h"

namespace quelto::mac {

namespace {

std::optional<std::string> failure(BOOL succeeded, NSError* error) {
    if (succeeded) return std::nullopt;
    NSString* description = error.localizedDescription;
    return description ? toStdString(description)
                       : std::string("The operation couldn’t be completed.");
}

}  // namespace

LoginItem::Status MacLoginItem::status() {
    switch (SMAppService.mainAppService.status) {
        case SMAppServiceStatusEnabled:
            return Status::enabled;
        case SMAppServiceStatusRequiresApproval:
            return Status::requiresApproval;
        case SMAppServiceStatusNotFound:
            return Status::notFound;
        case SMAppServiceStatusNotRegistered:
            break;
    }
    return Status::notRegistered;
}

std::optional<std::string> MacLoginItem::registerItem() {
    NSError* error = nil;
    BOOL done = [SMAppService.mainAppService registerAndReturnError:&error];
    return failure(done, error);
}

std::optional<std::string> MacLoginItem::unregisterItem() {
    NSError* error = nil;
    BOOL done = [SMAppService.mainAppService unregisterAndReturnError:&error];
    return failure(done, error);
}

}  // namespace quelto::mac
