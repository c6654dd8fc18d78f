; Bash.

(function_definition name: (_) @name) @definition.function
(declaration_command "readonly" (variable_assignment name: (_) @name) @definition.constant)
(declaration_command "readonly") @wrapper
(function_definition body: (_) @local)
(comment) @comment
