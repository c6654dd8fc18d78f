; Lua. What the variables hold tells the code that reads the matches.

(function_definition_statement name: (_) @name) @definition.function
(local_function_definition_statement name: (_) @name) @definition.function
(variable_assignment) @definition.variables
(local_variable_declaration) @definition.variables
(variable_assignment (variable_list . (variable) @name .) (expression_list . value: (table) @type .))
(local_variable_declaration
  (variable_list . (variable name: (_) @name) .) (expression_list . value: (table) @type .))
(field key: (identifier) @name value: (table) @type)
(field key: (identifier) @name value: (function_definition)) @definition.field
(function_definition_statement body: (_) @local)
(local_function_definition_statement body: (_) @local)
(function_definition body: (_) @local)
(argument_list) @local
(comment) @comment
