// Copyright nobody.
package org.example
package books

import scala.collection.mutable

/** Keeps accounts.
  *
  * @tparam T what is kept
  */
@deprecated("old", "1.0")
abstract class Ledger[T <: Entry](val path: String, size: Int = 10)(implicit clock: Clock)
    extends Book(path) with Reader[T] {
  private val items = mutable.Buffer.empty[T]
  val handler = new Handler { def handle(): Unit = () }

  /** Opens a small one. */
  def this(path: String) = this(path, 1)

  type Item = T

  // Adds one.
  @throws[IOException]
  override def add[U](item: T, rest: U*)(implicit order: Ordering[U]): List[U] = {
    def local(x: Int) = x
    class Local { def inner = 1 }
    val Constant = 3
    Nil
  }

  def add(item: T): Unit = items += item

  def size: Int

  def +(other: Ledger[T]): Ledger[T] = this
}

object Ledger {
  /** The most entries of a page. */
  val MaxEntries: Int = 64
  final val Version = 3
  val lower = 1

  def apply(path: String): Ledger[Entry] = ???

  case class Page(number: Int, rest: Seq[String] = Nil)

  sealed trait Side
  case object Debit extends Side
}

/** Reads. */
trait Reader[+T] {
  def close(): Unit
  def done(): Unit = {}
}

implicit class Rich(val text: String) extends AnyVal {
  def twice: String = text + text
}

enum Colour(val rgb: Int):
  case Red extends Colour(1)
  case Green, Blue

  def hex: String = rgb.toString

object Plain:
  def first(x: Int): Int =
    val y = x
    y + 1

  def second = 2

package object tools {
  def help(): String = ""
}

extension (page: Ledger.Page)
  /** The one behind. */
  def next: Ledger.Page = page.copy(number = page.number + 1)
  def skip(pages: Int)(using clock: Clock): Ledger.Page =
    val Skipped = pages
    next

extension [T <: Entry](all: List[T])(using Clock) def newest: Option[T] = all.headOption

/** Later pages last. */
given byNumber: Ordering[Ledger.Page] with
  def compare(a: Ledger.Page, b: Ledger.Page): Int = a.number - b.number

object Defaults {
  given Reader[Entry] with {
    def close(): Unit = {}
  }
  given clock(using zone: Zone): Clock = { def local = 1; Clock(zone) }
  given Conversion[String, Ledger.Page] = text => Ledger.Page(text.toInt)
}
