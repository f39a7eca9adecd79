// Stand-in for SMAppService (macOS 13 and later), declared as Apple's public API reference
// describes it: the registration of the app itself, a login item, an agent or a daemon.
#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSInteger, SMAppServiceStatus) {
    SMAppServiceStatusNotRegistered = 0,
    SMAppServiceStatusEnabled = 1,
    SMAppServiceStatusRequiresApproval = 2,
    SMAppServiceStatusNotFound = 3,
} API_AVAILABLE(macos(13.0));

API_AVAILABLE(macos(13.0))
@interface SMAppService : NSObject
@property(class, readonly) SMAppService* mainAppService;
+ (SMAppService*)loginItemServiceWithIdentifier:(NSString*)identifier;
+ (SMAppService*)agentServiceWithPlistName:(NSString*)plistName;
+ (SMAppService*)daemonServiceWithPlistName:(NSString*)plistName;
+ (SMAppServiceStatus)statusForLegacyURL:(NSURL*)url;
+ (void)openSystemSettingsLoginItems;
@property(readonly) SMAppServiceStatus status;
- (BOOL)registerAndReturnError:(NSError**)error;
- (BOOL)unregisterAndReturnError:(NSError**)error;
- (void)unregisterWithCompletionHandler:(void (^)(NSError* _Nullable error))handler;
@end

NS_ASSUME_NONNULL_END
