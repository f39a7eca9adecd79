// Stand-in for the UniformTypeIdentifiers umbrella header (macOS 11 and later), for building
// on a machine without Apple's SDK: the type object and the core types an open panel uses.
#import <UniformTypeIdentifiers/UTCoreTypes.h>
#import <UniformTypeIdentifiers/UTType.h>
