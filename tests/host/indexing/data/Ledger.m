// Copyright nobody. All rights reserved.
#import "Ledger.h"

NSString *const LedgerDidChangeNotification = @"LedgerDidChange";
static const NSUInteger kPageSize = 64;
#define LEDGER_LOG(text) NSLog(@"%@", text)

typedef void (^LedgerBlock)(NSError *error);

/// Where an amount goes.
typedef NS_ENUM(NSInteger, LedgerSide) {
  LedgerSideDebit,
  LedgerSideCredit,
};

/// What is told of entries.
@protocol LedgerDelegate <NSObject>
@required
- (void)ledger:(Ledger *)ledger didAdd:(Entry *)entry;
@optional
@property (nonatomic, readonly) BOOL isOpen;
+ (instancetype)shared;
@end

@class Entry;

/**
 * The books of a small shop.
 */
@interface Ledger<T> : NSObject <NSCopying> {
  int _count;
}
@property (nonatomic, strong, nullable) NSString *title;
/// Opens it.
- (instancetype)initWithName:(NSString *)name limit:(NSUInteger)limit NS_DESIGNATED_INITIALIZER;
- (int)count NS_SWIFT_NAME(size());
+ (Ledger *)ledgerNamed:(NSString *)name, ...;
@end

@interface Ledger () <NSCoding>
- (void)reset;
@end

@implementation Ledger
@synthesize title = _title;

- (instancetype)initWithName:(NSString *)name limit:(NSUInteger)limit {
  if ((self = [super init])) {
    void (^local)(void) = ^{ int inner = 1; };
    local();
  }
  return self;
}

// Adds one.
- (void)add:(Entry *)entry {
  [self.entries addObject:entry];
}

static int compare(const void *a, const void *b) { return 0; }
@end

@implementation Ledger (Printing)
- (NSString *)asText { return @""; }
@end

/* The sum of all. */
int LedgerSum(Ledger *ledger) {
  return 1;
}

SHOP_EXPORT_CLASS SHOP_ROOT_CLASS
@interface LedgerRoot
- (void)close;
@end

SHOP_EXPORT NSUInteger LedgerCount(void);
