
; What TypeScript has beyond JavaScript.

(abstract_class_declaration name: (_) @name) @definition.class
(interface_declaration name: (_) @name) @definition.interface
(enum_declaration name: (_) @name) @definition.enum
(type_alias_declaration name: (_) @name) @definition.type
(function_signature name: (_) @name) @definition.function
(interface_body (method_signature name: (_) @name) @definition.method)
(class_body (method_signature name: (_) @name) @definition.method)
(class_body (abstract_method_signature name: (_) @name) @definition.method)
(public_field_definition name: (_) @name value: [(function_expression) (arrow_function)]) @definition.method
(internal_module name: (_) @name) @scope
(expression_statement (internal_module)) @wrapper
(ambient_declaration) @wrapper
