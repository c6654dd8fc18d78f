; PHP.

(namespace_definition name: (_) @name !body) @chapter
(namespace_definition name: (_) @name body: (_)) @scope
(class_declaration name: (_) @name) @definition.class
(interface_declaration name: (_) @name) @definition.interface
(trait_declaration name: (_) @name) @definition.trait
(enum_declaration name: (_) @name) @definition.enum
(method_declaration name: (_) @name) @definition.method
(function_definition name: (_) @name) @definition.function
(const_declaration (const_element (name) @name) @definition.constant)
(const_declaration) @wrapper
(enum_case name: (_) @name) @definition.case
(expression_statement (function_call_expression function: [(name) (qualified_name)]
  arguments: (arguments . (argument (string (string_content) @name))))) @definition.define
(method_declaration body: (_) @local)
(function_definition body: (_) @local)
(anonymous_function body: (_) @local)
(anonymous_class) @local
(comment) @comment
