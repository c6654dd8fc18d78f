# Copyright nobody.
"""
    Ledger

The books of a small shop.
"""
module Ledger

export Account, total
using Dates

"The most entries that one page holds."
const PAGE_SIZE = 64
const Cents = Int64

"What has a balance."
abstract type Holder end
primitive type Code 16 end

"""
    Account(name)

One account with its entries.
"""
Base.@kwdef mutable struct Account{T<:Number} <: Holder
  name::String
  entries::Vector{T} = T[]

  "A nameless one."
  Account{T}() where {T} = new{T}("", T[])
end

struct Entry; cents::Cents; end

@enum Side debit credit
@enum Format::UInt8 text=1 json=2

"""
    total(account; from=1)

The sum of all entries.
"""
function total(account::Account{T}, rate=1; from=1)::T where {T}
  scale(x) = x * rate
  sum(map(scale, account.entries[from:end]); init=zero(T))
end

# Half of it.
half(x) = x / 2
Base.show(io::IO, account::Account) = print(io, account.name)
function Base.length(account::Account)
  length(account.entries)
end
Base.:+(a::Entry, b::Entry) = Entry(a.cents + b.cents)
-(a::Entry, b::Entry) = Entry(a.cents - b.cents)
(entry::Entry)(rate) = entry.cents * rate
@inline fast(x) = x
square = x -> x^2
cube = function (x) x^3 end
function close! end

"Times `block`."
macro timed(block)
  quote
    hidden() = 1
    $(esc(block))
  end
end

open("books") do file
  parse_line(line) = line
end

baremodule Tax
rate(x::T) where T = x
end

if VERSION > v"1.6"
  newer() = true
end

end
