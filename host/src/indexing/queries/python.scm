; Python. The code that reads the matches tells constants from other variables.

(class_definition name: (_) @name) @definition.class
(function_definition name: (_) @name) @definition.function
(function_definition body: (_) @local)
(assignment left: (identifier) @name) @definition.variable
(type_alias_statement) @definition.type
(decorated_definition) @wrapper
(comment) @comment
