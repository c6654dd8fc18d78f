; OCaml, sources and interfaces. A module is a class to those who cite it.

(module_binding (module_name) @name) @definition.module
(module_type_definition (module_type_name) @name) @definition.interface
(class_binding (class_name) @name) @definition.class
(class_type_binding (class_type_name) @name) @definition.interface
(type_binding name: (type_constructor) @name) @definition.type
(exception_definition (constructor_declaration (constructor_name) @name)) @definition.exception
(external (value_name) @name) @definition.function
(value_specification [(value_name) (parenthesized_operator)] @name) @definition.value
(method_specification (method_name) @name) @definition.method
(type_definition) @wrapper
(module_definition) @wrapper
(class_definition) @wrapper
(comment) @comment
