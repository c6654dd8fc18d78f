; JavaScript. TypeScript has these patterns too, and its own. What a variable holds tells the code
; that reads the matches.

(class_declaration name: (_) @name) @definition.class
(class_body (method_definition name: (_) @name) @definition.method)
(function_declaration name: (_) @name) @definition.function
(generator_function_declaration name: (_) @name) @definition.function
(lexical_declaration (variable_declarator name: (identifier) @name) @definition.variable)
(variable_declaration (variable_declarator name: (identifier) @name) @definition.variable)
(program (expression_statement
  (assignment_expression left: (member_expression) @name
    right: [(function_expression) (arrow_function) (class)]) @definition.assigned))
(export_statement "default"
  value: [(function_expression) (arrow_function) (class)]) @definition.default
(export_statement "default" @name value: (object) @type)
(program (expression_statement (assignment_expression
  left: (member_expression property: (_) @name) right: (object) @type)))
(program (expression_statement (assignment_expression right: (object
  (method_definition name: (_) @name) @definition.method))))
(program (expression_statement (assignment_expression right: (object
  (pair key: (_) @name value: [(function_expression) (arrow_function)]) @definition.method))))
(export_statement value: (object (method_definition name: (_) @name) @definition.method))
(export_statement value: (object
  (pair key: (_) @name value: [(function_expression) (arrow_function)]) @definition.method))
(export_statement (lexical_declaration
  (variable_declarator name: (identifier) @name value: (object) @type)))
(export_statement (lexical_declaration (variable_declarator value: (object
  (method_definition name: (_) @name) @definition.method))))
(export_statement (lexical_declaration (variable_declarator value: (object
  (pair key: (_) @name value: [(function_expression) (arrow_function)]) @definition.method))))
(export_statement) @wrapper
(lexical_declaration) @wrapper
(variable_declaration) @wrapper
(decorator) @attribute
(function_declaration body: (_) @local)
(generator_function_declaration body: (_) @local)
(method_definition body: (_) @local)
(function_expression body: (_) @local)
(generator_function body: (_) @local)
(arrow_function body: (_) @local)
(class_static_block) @local
(comment) @comment
