#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// Keeps the books.
NS_SWIFT_NAME(Books)
SHOP_EXPORT
@interface LedgerBooks : NSObject
- (BOOL)open:(NSError **)error NS_SWIFT_NAME(open());
@end

FOUNDATION_EXPORT NSString *const LedgerVersion;

NS_ASSUME_NONNULL_END
