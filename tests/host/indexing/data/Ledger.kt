/* Copyright nobody. */
@file:JvmName("Ledgers")

package org.example.books

import kotlin.math.abs

/** The most entries of a page. */
const val MAX_ENTRIES: Int = 64
val DEFAULT_NAME = "ledger"
val lower = 1

typealias Filter<T> = (T) -> Boolean

/**
 * Keeps accounts.
 *
 * @param T what is kept
 */
@Serializable
@Named("ledger")
abstract class Ledger<T : Entry>(
    val path: String, // where
    private val size: Int = 10,
) : Book(path), Reader<T> where T : Any {
    private val items = mutableListOf<T>()
    val handler = object : Handler {
        override fun handle() {}
    }

    init {
        fun hidden() {}
    }

    /** Opens a small one. */
    constructor(path: String) : this(path, 1) {
        println(path)
    }

    /** How many there are. */
    val count: Int
        get() = items.size

    // Adds one.
    @Throws(IOException::class)
    override suspend fun <U> add(item: T, vararg rest: U): List<U> {
        class Local { fun inner() {} }
        fun local(x: Int) = x
        val f = { x: Int -> x }
        return emptyList()
    }

    fun add(item: T) = items.add(item)

    abstract fun size(): Int

    companion object {
        const val VERSION = 3

        @JvmStatic
        fun open(path: String): Ledger<Entry> = Ledger()
    }

    inner class Page {
        fun next(): Page? = null
    }

    enum class Side(val sign: Int) : Named {
        DEBIT(-1) {
            override fun title() = "debit"
        },
        CREDIT(1);

        open fun title() = "credit"
    }
}

interface Reader<out T> {
    fun close()
    fun done() {}
}

fun interface Visitor<R> { fun visit(entry: Entry): R }

data class Pair2<A, B>(val first: A, val second: B)

sealed interface Shape

/** The only one. */
object Registry : Book("registry") {
    fun find(name: String): Ledger<*>? = null
}

/** The second of them. */
fun <T> List<T>.second(): T? = getOrNull(1)

fun String?.orNone() = this ?: "none"

inline fun <reified T> make(block: () -> T): T = block()

class Mirror(
    private val inner: Reader<Int>,
) : Book("mirror"),
    Reader<Int> by inner {
    val lazily by lazy { 1 }

    fun turn() {}
}

/** Keeps a copy of what it passes on. */
class Copying(private val inner: Reader<Int>, val name: String = "}") : Reader<Int> by inner {
    override fun done() = copy { it.close() }

    object Cache : MutableMap<String, Int> by make({ "a" to 1 }) { size -> size } {
        fun warm() {}
    }
}

/** Says it where it is heard. */
context(log: Logger, Clock)
private fun announce(what: String) = log.say(what)

val <T : Any> Reader<T>.doubled: Int
    get() = 2

@Immutable
@Suppress("unused")
public open class Receipt {
    fun lines(): Int = 0
}

fun firstReceipt() = Receipt()
