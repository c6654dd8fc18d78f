; C#. Which fields are constants and which properties compute tells the code that reads the matches.
; The functions of a program without a class are local to it in name only.

(namespace_declaration name: (_) @name) @scope
(file_scoped_namespace_declaration name: (_) @name) @package
(class_declaration name: (_) @name) @definition.class
(record_declaration "struct" name: (_) @name) @definition.struct
(record_declaration name: (_) @name) @definition.class
(struct_declaration name: (_) @name) @definition.struct
(interface_declaration name: (_) @name) @definition.interface
(enum_declaration name: (_) @name) @definition.enum
(delegate_declaration name: (_) @name) @definition.type
(method_declaration name: (_) @name) @definition.method
(constructor_declaration name: (_) @name) @definition.constructor
(destructor_declaration name: (_) @name) @definition.method
(operator_declaration operator: _ @name) @definition.operator
(conversion_operator_declaration type: (_) @name) @definition.conversion
(indexer_declaration "this" @name) @definition.method
(property_declaration name: (_) @name) @definition.property
(event_declaration name: (_) @name) @definition.event
(event_field_declaration) @definition.events
(field_declaration) @definition.constant
(global_statement (local_function_statement name: (_) @name) @definition.function)
(block) @local
(arrow_expression_clause) @local
(lambda_expression) @local
(comment) @comment
