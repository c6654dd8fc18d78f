; Rust. An impl block adds to a type and is no symbol of its own.

(mod_item name: (_) @name body: (_)) @scope
(impl_item type: (_) @name) @type
(struct_item name: (_) @name) @definition.struct
(union_item name: (_) @name) @definition.union
(enum_item name: (_) @name) @definition.enum
(trait_item name: (_) @name) @definition.trait
(type_item name: (_) @name) @definition.type
(const_item name: (_) @name) @definition.constant
(static_item name: (_) @name) @definition.constant
(function_item name: (_) @name) @definition.function
(function_signature_item name: (_) @name) @definition.function
(macro_definition name: (_) @name) @definition.macro
(attribute_item) @attribute
(function_item body: (_) @local)
(const_item value: (_) @local)
(static_item value: (_) @local)
(line_comment) @comment
(block_comment) @comment
