; Lua. What the variables hold tells the code that reads the matches.

(function_definition_statement name: (_) @name) @definition.function
(local_function_definition_statement name: (_) @name) @definition.function
(variable_assignment) @definition.variables
(local_variable_declaration) @definition.variables
(field key: (identifier) @name value: (function_definition)) @definition.field

; Tables that something names: a variable, the module that the file returns, a field of such a table.
; They may be handed to a function first.
(variable_assignment (variable_list . (variable) @name .)
  (expression_list . value: (table) @definition.table))
(local_variable_declaration (variable_list . (variable name: (_) @name) .)
  (expression_list . value: (table) @definition.table))
(variable_assignment (variable_list . (variable) @name .) (expression_list . value: (call
  arguments: (argument_list (expression_list (table) @definition.table)))))
(local_variable_declaration (variable_list . (variable name: (_) @name) .) (expression_list
  . value: (call arguments: (argument_list (expression_list (table) @definition.table)))))
(return_statement (expression_list . (table) @definition.table))
(return_statement (expression_list . (call
  arguments: (argument_list (expression_list (table) @definition.table)))))
(field key: (identifier) @name value: (table)) @definition.inner

(function_definition_statement body: (_) @local)
(local_function_definition_statement body: (_) @local)
(function_definition body: (_) @local)
(argument_list) @local
(variable_assignment (expression_list . value: (call arguments: (_) @open)))
(local_variable_declaration (expression_list . value: (call arguments: (_) @open)))
(return_statement (expression_list . (call arguments: (_) @open)))
(comment) @comment
