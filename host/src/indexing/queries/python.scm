; Python. A constant is an assignment in capitals outside classes; the code that reads the matches
; sorts the others out.

(class_definition name: (_) @name) @definition.class
(function_definition name: (_) @name) @definition.function
(function_definition body: (_) @local)
(assignment left: (identifier) @name) @definition.constant
(type_alias_statement) @definition.type
(decorated_definition) @wrapper
(comment) @comment
