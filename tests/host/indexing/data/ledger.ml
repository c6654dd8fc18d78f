(* Copyright nobody. *)

(** The books of a small shop. *)

open Printf

(** Amounts are whole. *)
type cents = int

(** Where an amount goes. *)
type side =
  | Debit
  | Credit of cents

and 'a account = {
  name : string;  (** of who owns it *)
  mutable entries : 'a list;
}

type t = ..
exception Closed of string

(** The most entries that one page holds. *)
let page_size = 64

let _ = printf "loaded"
let () = at_exit (fun () -> let inner () = () in inner ())

(** The sum of all. *)
let rec total ?(start = 0) (xs : cents list) : cents =
  let add a b = a + b in
  List.fold_left add start xs

(* Its other half. *)
and average xs = total xs / List.length xs

let ( <+> ) a b = a + b
let double = fun x -> x * 2
let sign = function
  | 0 -> 0
  | n -> if n < 0 then -1 else 1
let sum : cents list -> cents = total

(** Accounts by their names. *)
module Store (Key : Map.OrderedType) : sig
  val size : int -> int
end = struct
  module Names = Map.Make (Key)

  type key = Key.t

  (** How many there are. *)
  let size n = n
end

module type HOLDER = sig
  type t

  val make : name:string -> t
  val none : t
end

class virtual counter start = object (self)
  val mutable n = start

  (** Counts on. *)
  method incr by = n <- n + by; self#report
  method virtual report : unit
end

external sine : float -> float = "caml_sin"
