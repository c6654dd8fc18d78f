// Copyright nobody.
import Foundation

/// The most entries of a page.
public let maxEntries: Int = 64
var counter = 0

typealias Filter<T> = (T) -> Bool

/// Keeps accounts.
///
/// - Parameter T: what is kept
@available(iOS 13, *)
open class Ledger<T: Entry>: Book, Reader where T: Hashable {
    static let version = 3
    private let items: [T]
    let handler = { (x: Int) in x }

    /** How many there are. */
    var count: Int {
        return items.count
    }

    var name: String = "" {
        didSet { print(name) }
    }

    /// Opens it.
    public init(path: String, size: Int = 10) throws {
        func hidden() {}
        self.items = []
    }

    convenience init?(url: URL) { nil }

    deinit {}

    // Adds one.
    @discardableResult
    public func add<U>(_ item: T, to rest: U...) async throws -> [U] where U: Equatable {
        struct Local { func inner() {} }
        let constant = 3
        return []
    }

    func add(_ item: T) { print(item) }

    class func make() -> Ledger { fatalError() }

    subscript(index: Int) -> T { items[index] }

    static func == (lhs: Ledger, rhs: Ledger) -> Bool { true }

    enum Side: String, CaseIterable {
        case debit, credit

        var sign: Int { 1 }
        func flipped() -> Side { self }
    }
}

/// Reads.
protocol Reader: AnyObject {
    associatedtype Item
    var title: String { get }
    init(reader: Int)
    /// Closes it.
    func close() throws
}

struct Page<A> {
    var number: Int
    mutating func next() -> Page? { nil }
}

actor Registry {
    func find(name: String) -> Int { 0 }
}

extension Ledger: Comparable where T: Comparable {
    /// Sorts them.
    func sorted(by order: (T, T) -> Bool) -> [T] { items }

    struct Iterator { func step() {} }
}

@inlinable func twice<T>(_ x: T) -> (T, T) { (x, x) }

/// Writes what it is given beside its source.
@freestanding(expression)
public macro explained<T>(_ value: T) -> (T, String) = #externalMacro(module: "Macros", type: "Explained")

@attached(member, names: named(init))
macro Keeps() = #externalMacro(module: "Macros", type: "Keeps")

protocol Shared {
    /// The one that all use.
    static var shared: Self { get set }
    var isOpen: Bool { get }
}
