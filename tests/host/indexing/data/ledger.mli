(** The sum of all. *)
val total : ?start:int -> int list -> int

type 'a account
(** Sums of money. *)
type cents = int

val page_size : int
val ( <+> ) : int -> int -> int

(** Accounts by their names. *)
module Store : sig
  val size : int -> int
end

exception Closed of string
class counter : int -> object
  method incr : int -> unit
end
external sine : float -> float = "caml_sin"
