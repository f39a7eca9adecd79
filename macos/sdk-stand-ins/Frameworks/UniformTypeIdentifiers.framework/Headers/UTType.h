// Stand-in for UTType (macOS 11 and later), declared as Apple's public API reference
// describes it.
#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

API_AVAILABLE(macos(11.0))
@interface UTType : NSObject <NSCopying, NSSecureCoding>
+ (nullable UTType*)typeWithIdentifier:(NSString*)identifier;
+ (nullable UTType*)typeWithFilenameExtension:(NSString*)filenameExtension;
+ (nullable UTType*)typeWithFilenameExtension:(NSString*)filenameExtension
                             conformingToType:(UTType*)supertype;
+ (nullable UTType*)typeWithMIMEType:(NSString*)mimeType;
@property(readonly, copy) NSString* identifier;
@property(readonly, nullable, copy) NSString* preferredFilenameExtension;
@property(readonly, nullable, copy) NSString* preferredMIMEType;
@property(readonly, nullable, copy) NSString* localizedDescription;
@property(readonly, getter=isDynamic) BOOL dynamic;
@property(readonly, getter=isDeclared) BOOL declared;
@property(readonly, getter=isPublicType) BOOL publicType;
@property(readonly, copy) NSSet<UTType*>* supertypes;
- (BOOL)conformsToType:(UTType*)type;
- (BOOL)isSupertypeOfType:(UTType*)type;
- (BOOL)isSubtypeOfType:(UTType*)type;
@end

NS_ASSUME_NONNULL_END
