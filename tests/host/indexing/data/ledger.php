<!DOCTYPE html>
<?php
/*
 * Copyright nobody. All rights reserved.
 */
declare(strict_types=1);

namespace Books\Storage;

use Countable;
use function strlen;

// How many fit.
const LIMIT = 64, OTHER = 1;

/** Reads entries. */
interface Reads extends Countable, \Traversable
{
    const MODE = 'r';
    /** Reads one. */
    public function read(int $index, ?string $key = null): Entry|null;
}

/**
 * A line of the book,
 * with what it says.
 *
 * @template T
 */
#[Attribute(Attribute::TARGET_CLASS)]
// between
#[Immutable]
final class Entry extends Base implements Reads, \JsonSerializable
{
    use Shared, Other { share as protected; }

    /** The most. */
    public const int MOST = self::LIMIT * 2;
    private array $items = [];

    /** Opens it. */
    public function __construct(
        private readonly string $path, // where
        int ...$rest,
    ) {
        parent::__construct($path);
    }

    #[\ReturnTypeWillChange]
    abstract protected static function &make(self $other): static;

    public function read(int $index, ?string $key = null): Entry|null
    {
        $call = function ($x) use ($index) { return $x; };
        $double = fn(int $x): int => $x * 2;
        $object = new class { public function skipped() {} };
        function inner() {}
        return null;
    }
}

trait Shared
{
    function share(array|string &$into) { }
}

# One half.
enum Side: string implements HasLabel
{
    case Debit = 'd';
    case Credit = 'c';
    /** What most are. */
    #[Deprecated]
    final public const self|null USUAL = self::Debit;
    const SIGNS = ['}' => 1]; // don't
    public static function of(string $text): self { return self::Debit; }
}

abstract class Shape { abstract function area(): float; }

/**
 * Adds numbers.
 * @param int[] $items
 */
function total(array $items, callable $map = null): int
{
    return array_sum($items);
}

if (!function_exists('Books\Storage\old')) {
    function old() {}
}
$local = fn() => 1;
\define('BOOKS_VERSION', '2.0');
function only() { function inside() {} }

namespace Legacy;

class Book {}
