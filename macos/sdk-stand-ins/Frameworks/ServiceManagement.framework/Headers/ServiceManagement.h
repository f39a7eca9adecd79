// Stand-in for the ServiceManagement umbrella header, for building on a machine without
// Apple's SDK: only the login-item API of macOS 13, declared as Apple documents it.
#import <ServiceManagement/SMAppService.h>
