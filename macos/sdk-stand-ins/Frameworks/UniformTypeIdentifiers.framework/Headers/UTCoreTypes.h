// Stand-in for a few of the core UTType constants (macOS 11 and later).
#import <UniformTypeIdentifiers/UTType.h>

NS_ASSUME_NONNULL_BEGIN

extern UTType* const UTTypeItem API_AVAILABLE(macos(11.0));
extern UTType* const UTTypeContent API_AVAILABLE(macos(11.0));
extern UTType* const UTTypeData API_AVAILABLE(macos(11.0));
extern UTType* const UTTypeDirectory API_AVAILABLE(macos(11.0));
extern UTType* const UTTypePackage API_AVAILABLE(macos(11.0));
extern UTType* const UTTypeBundle API_AVAILABLE(macos(11.0));
extern UTType* const UTTypeApplication API_AVAILABLE(macos(11.0));
extern UTType* const UTTypeApplicationBundle API_AVAILABLE(macos(11.0));
extern UTType* const UTTypeExecutable API_AVAILABLE(macos(11.0));
extern UTType* const UTTypePlainText API_AVAILABLE(macos(11.0));
extern UTType* const UTTypeJSON API_AVAILABLE(macos(11.0));
extern UTType* const UTTypePNG API_AVAILABLE(macos(11.0));

NS_ASSUME_NONNULL_END
