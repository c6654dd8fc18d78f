; What OCaml's sources have beyond its interfaces.

(let_binding pattern: [(value_name) (parenthesized_operator)] @name) @definition.binding
(method_definition (method_name) @name) @definition.method
(value_definition) @wrapper
(let_binding body: (_) @local)
(method_definition body: (_) @local)
(instance_variable_definition) @local
(expression_item) @local
