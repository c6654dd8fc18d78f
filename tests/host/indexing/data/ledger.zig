//! The books of a small shop.

const std = @import("std");
const Allocator = std.mem.Allocator;

/// The most entries that one page holds.
pub const page_size: usize = 64;
var open_books: u32 = 0;

/// What can go wrong.
pub const LedgerError = error{ Closed, Full };

/// Where an amount goes.
pub const Side = enum(u8) {
    debit,
    credit,

    /// The other one.
    pub fn opposite(self: Side) Side {
        return if (self == .debit) .credit else .debit;
    }
};

/// One account with its entries.
pub const Account = struct {
    name: []const u8,
    balance: i64 = 0,

    const Self = @This();
    pub const empty: Account = .{ .name = "" };

    /// Opens an account; the name is the caller's.
    pub fn init(allocator: Allocator, name: []const u8) !Account {
        const Local = struct {
            fn helper() void {}
        };
        Local.helper();
        return .{ .name = try allocator.dupe(u8, name) };
    }

    pub fn deinit(self: *Self) void {
        _ = self;
    }
};

const Amount = union(enum) { cents: i64, none: void };
const Handle = opaque {};

/// A list that grows.
pub fn Growing(comptime T: type) type {
    return struct {
        items: []T,

        // Adds at the end.
        pub fn append(self: *@This(), item: T) !void {
            _ = self;
            _ = item;
        }
    };
}

extern "c" fn sin(x: f64) f64;
export fn ledger_version() u32 {
    return 1;
}
pub inline fn cents(whole: i64) i64 {
    return whole * 100;
}

test "adds" {
    const inner = 1;
    try std.testing.expect(inner == 1);
}
