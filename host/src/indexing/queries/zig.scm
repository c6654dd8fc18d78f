; Zig. What a constant holds tells the code that reads the matches. A function that returns a type
; is the type to those who cite it.

(variable_declaration . (identifier) @name) @definition.variable
(function_declaration name: (_) @name) @definition.function
(function_declaration name: (_) @name body: (block (expression_statement (return_expression
  [(struct_declaration) (union_declaration) (enum_declaration)] @returned))))
(block) @local
(test_declaration) @local
(comptime_declaration) @local
(comment) @comment
