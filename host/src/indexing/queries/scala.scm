; Scala. An extension adds to a type and is no symbol of its own.

(package_clause name: (_) @name body: (_)) @scope
(package_clause name: (_) @name !body) @package
(extension_definition parameters: (parameters "(" .
  (parameter type: [(type_identifier) (stable_type_identifier)] @name) . ")")) @type
(extension_definition parameters: (parameters "(" .
  (parameter type: (generic_type type: (_) @name)) . ")")) @type
(class_definition name: (_) @name) @definition.class
(object_definition name: (_) @name) @definition.class
(package_object name: (_) @name) @definition.class
(trait_definition name: (_) @name) @definition.trait
(enum_definition name: (_) @name) @definition.enum
(type_definition name: (_) @name) @definition.type
(function_definition name: (_) @name) @definition.function
(function_declaration name: (_) @name) @definition.function
(val_definition pattern: (identifier) @name) @definition.constant
(function_definition body: (_) @local)
(val_definition value: (_) @local)
(var_definition value: (_) @local)
(given_definition) @definition.given
(given_definition "=" body: (_) @local)
(comment) @comment
(block_comment) @comment
