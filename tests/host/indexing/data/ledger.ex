defmodule Books.Ledger do
  @moduledoc """
  The books of a small shop.
  """
  use GenServer
  @behaviour Books.Holder

  @page_size 64
  @names ["main", "spare"]

  @typedoc "A ledger."
  @type t :: %__MODULE__{name: String.t()}
  @typep id :: integer
  @callback total(t) :: integer

  defstruct [:name, entries: []]

  @doc """
  Adds an entry.

  It may be negative.
  """
  @spec add(t, integer) :: t
  @impl true
  def add(%__MODULE__{} = ledger, cents) when cents > 0 do
    put = fn entry -> [entry | ledger.entries] end
    %{ledger | entries: put.(cents)}
  end

  def add(ledger, _cents), do: ledger

  # Of another arity.
  def add(ledger), do: add(ledger, 1)

  @doc false
  defp helper(x), do: x

  defmacro unless(condition, do: block) do
    quote do
      def hidden, do: 1
      if !unquote(condition), do: unquote(block)
    end
  end

  defguard is_even(value) when rem(value, 2) == 0
  defdelegate size(entries), to: Enum, as: :count
  def left + right, do: {left, right}
  def zero, do: 0

  for name <- @names do
    def unquote(String.to_atom(name))(), do: unquote(name)
  end

  defmodule Entry do
    @moduledoc false
    def new(cents \\ 0), do: %{cents: cents}
  end
end

defprotocol Size do
  @doc "How many there are."
  def size(data)
end

defimpl Size, for: Books.Ledger do
  def size(ledger), do: length(ledger.entries)
end
