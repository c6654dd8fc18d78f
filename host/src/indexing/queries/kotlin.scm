; Kotlin. The members of a nameless companion are cited as those of its class.

(package_header (identifier) @name) @package
(class_declaration "interface" (type_identifier) @name) @definition.interface
(class_declaration "enum" (type_identifier) @name) @definition.enum
(class_declaration (type_identifier) @name) @definition.class
(object_declaration (type_identifier) @name) @definition.class
(companion_object (type_identifier) @name) @definition.class
(type_alias (type_identifier) @name) @definition.type
(secondary_constructor "constructor" @name) @definition.constructor
(function_declaration (simple_identifier) @name) @definition.function
(property_declaration (variable_declaration (simple_identifier) @name) (getter)) @definition.computed
((property_declaration (variable_declaration (simple_identifier) @name)) @definition.computed . (getter) @last)
(property_declaration (variable_declaration (simple_identifier) @name)) @definition.property
(function_body) @local
(secondary_constructor (statements) @local)
(anonymous_initializer) @local
(anonymous_function) @local
(lambda_literal) @local
(object_literal) @local
(getter) @local
(setter) @local
(enum_entry (class_body) @local)
(line_comment) @comment
(multiline_comment) @comment
