; JavaScript. TypeScript has these patterns too, and its own. What a variable holds tells the code
; that reads the matches.

(class_declaration name: (_) @name) @definition.class
(class_body (method_definition name: (_) @name) @definition.method) @owner
(function_declaration name: (_) @name) @definition.function
(generator_function_declaration name: (_) @name) @definition.function
(lexical_declaration (variable_declarator name: (identifier) @name) @definition.variable)
(variable_declaration (variable_declarator name: (identifier) @name) @definition.variable)
(assignment_expression left: (member_expression) @name
  right: [(function_expression) (arrow_function) (generator_function) (class) (call_expression)]
) @definition.assigned
(export_statement "default"
  value: [(function_expression) (arrow_function) (class) (call_expression)] @definition.default)

; The functions of objects.
(object (method_definition name: (_) @name) @definition.method) @owner
(object (pair key: (_) @name
  value: [(function_expression) (arrow_function) (generator_function) (call_expression)]
) @definition.method) @owner

; Objects that something names: a variable, what is assigned, what the file exports or a module
; returns, a field of such an object, what is extended. They may be handed to a function first.
(variable_declarator name: (identifier) @name value: (object) @definition.object)
(variable_declarator name: (identifier) @name
  value: [(call_expression arguments: (arguments (object) @definition.object))
          (new_expression arguments: (arguments (object) @definition.object))])
(variable_declarator name: (identifier) @name
  value: (call_expression function: (parenthesized_expression [
    (function_expression body: (statement_block (return_statement (object) @definition.object)))
    (arrow_function body: (statement_block (return_statement (object) @definition.object)))])))
(assignment_expression left: (member_expression) @name right: (object) @definition.object)
(assignment_expression left: (member_expression) @name
  right: [(call_expression arguments: (arguments (object) @definition.object))
          (new_expression arguments: (arguments (object) @definition.object))])
(export_statement "default" value: (object) @definition.object)
(export_statement "default"
  value: [(call_expression arguments: (arguments (object) @definition.object))
          (new_expression arguments: (arguments (object) @definition.object))])
(statement_block (return_statement (object) @definition.object))
(object (pair key: (_) @name value: (object) @definition.object)) @owner
(expression_statement (call_expression
  function: (member_expression object: (_) @name property: (_) @_verb)
  arguments: (arguments . (object) @definition.object))
  (#any-of? @_verb "extend" "include" "mixin"))
(expression_statement (call_expression
  function: (member_expression property: (_) @_verb)
  arguments: (arguments . [(identifier) (member_expression)] @name . (object) @definition.object))
  (#any-of? @_verb "assign" "extend" "mixin"))

(export_statement) @wrapper
(lexical_declaration) @wrapper
(variable_declaration) @wrapper
(expression_statement (assignment_expression right: (assignment_expression))) @wrapper
(decorator) @attribute
(function_declaration body: (_) @local)
(generator_function_declaration body: (_) @local)
(method_definition body: (_) @local)
(function_expression body: (_) @local)
(generator_function body: (_) @local)
(arrow_function body: (_) @local)
(class_static_block) @local

; Functions that are called where they stand, and the modules that are handed to them or to a loader.
(call_expression function: (parenthesized_expression
  [(function_expression body: (_) @open) (arrow_function body: (_) @open)]))
(call_expression function: (function_expression body: (_) @open))
(call_expression function: (member_expression object:
  [(function_expression body: (_) @open)
   (parenthesized_expression (function_expression body: (_) @open))]))
(call_expression
  function: [(parenthesized_expression [(function_expression) (arrow_function)])
             (function_expression)]
  arguments: (arguments
    [(function_expression body: (_) @open)
     (arrow_function body: (_) @open)
     (parenthesized_expression
       [(function_expression body: (_) @open) (arrow_function body: (_) @open)])]))
((call_expression function: (identifier) @_callee
  arguments: (arguments
    [(function_expression body: (_) @open) (arrow_function body: (_) @open)]))
  (#any-of? @_callee "define" "require" "requirejs" "$" "jQuery"))
(comment) @comment
