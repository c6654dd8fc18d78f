; C. C++ has these patterns too, and its own.

(function_definition) @definition.function
((expression_statement (call_expression)) @definition.call . (compound_statement) @last)
(declaration) @definition.declaration
(field_declaration) @definition.declaration
(struct_specifier body: (_)) @definition.struct
(union_specifier body: (_)) @definition.union
(enum_specifier body: (_)) @definition.enum
(type_definition) @definition.type
(preproc_def name: (_) @name) @definition.macro
(preproc_function_def name: (_) @name) @definition.macro
(preproc_ifdef name: (_) @name) @condition
(compound_statement) @local
(parameter_list) @local
(comment) @comment

