; Elixir, in which everything is a call: which of them define something tells the code that reads
; the matches, and that what stands in a function does not count.

(call target: (identifier) @name) @definition.call
(unary_operator operator: "@" operand: (call target: (identifier) @name)) @definition.attribute
(comment) @comment
