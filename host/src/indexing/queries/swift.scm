; Swift. An extension adds to a type and is no symbol of its own.

(class_declaration "extension" name: (_) @name) @type
(class_declaration "struct" name: (_) @name) @definition.struct
(class_declaration "enum" name: (_) @name) @definition.enum
(class_declaration "class" name: (_) @name) @definition.class
(class_declaration "actor" name: (_) @name) @definition.class
(protocol_declaration name: (_) @name) @definition.interface
(typealias_declaration name: (_) @name) @definition.type
(function_declaration "func" . _ @name) @definition.function
(protocol_function_declaration "func" . _ @name) @definition.function
(init_declaration name: _ @name) @definition.constructor
(deinit_declaration "deinit" @name) @definition.function
(subscript_declaration "subscript" @name) @definition.function
(property_declaration name: (pattern bound_identifier: (_) @name)) @definition.property
(protocol_property_declaration name: (pattern bound_identifier: (_) @name)) @definition.function
(macro_declaration (simple_identifier) @name) @definition.macro
(function_body) @local
(computed_property) @local
(willset_didset_block) @local
(lambda_literal) @local
(comment) @comment
(multiline_comment) @comment
