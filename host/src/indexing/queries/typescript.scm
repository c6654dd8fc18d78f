
; What TypeScript has beyond JavaScript.

(abstract_class_declaration name: (_) @name) @definition.class
(interface_declaration name: (_) @name) @definition.interface
(enum_declaration name: (_) @name) @definition.enum
(type_alias_declaration name: (_) @name) @definition.type
(function_signature name: (_) @name) @definition.function
(interface_body (method_signature name: (_) @name) @definition.method)
(class_body (method_signature name: (_) @name) @definition.method)
(class_body (abstract_method_signature name: (_) @name) @definition.method)
(class_body (public_field_definition name: (_) @name) @definition.field) @owner
(public_field_definition name: (_) @name value: (object) @definition.object)
(variable_declarator name: (identifier) @name
  value: [(as_expression (object) @definition.object)
          (satisfies_expression (object) @definition.object)
          (satisfies_expression (as_expression (object) @definition.object))])
(export_statement "default"
  value: [(as_expression (object) @definition.object)
          (satisfies_expression (object) @definition.object)])
(internal_module name: (_) @name) @scope
(module name: [(identifier) (nested_identifier)] @name) @scope
(module name: (string (string_fragment) @name)) @definition.module
(ambient_declaration "global" (statement_block) @definition.global)
(expression_statement (internal_module)) @wrapper
(ambient_declaration) @wrapper
