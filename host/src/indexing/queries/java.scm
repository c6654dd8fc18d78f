; Java. Which fields are constants tells the code that reads the matches.

(package_declaration [(identifier) (scoped_identifier)] @name) @package
(class_declaration name: (_) @name) @definition.class
(record_declaration name: (_) @name) @definition.class
(interface_declaration name: (_) @name) @definition.interface
(annotation_type_declaration name: (_) @name) @definition.interface
(enum_declaration name: (_) @name) @definition.enum
(method_declaration name: (_) @name) @definition.method
(annotation_type_element_declaration name: (_) @name) @definition.method
(constructor_declaration name: (_) @name) @definition.constructor
(compact_constructor_declaration name: (_) @name) @definition.constructor
(field_declaration) @definition.constant
(constant_declaration) @definition.constant
(block) @local
(constructor_body) @local
(lambda_expression) @local
(object_creation_expression (class_body) @local)
(enum_constant body: (_) @local)
(line_comment) @comment
(block_comment) @comment
