; Julia. A string that stands for itself documents what follows it. What an assignment or a macro
; defines tells the code that reads the matches.

(module_definition name: (_) @name) @scope
(struct_definition (type_head) @name) @definition.struct
(abstract_definition (type_head) @name) @definition.type
(primitive_definition (type_head) @name) @definition.type
(function_definition (signature) @name) @definition.function
(macro_definition (signature) @name) @definition.macro
(assignment . (_) @name) @definition.assignment
(const_statement (assignment . (_) @name)) @definition.constant
(macrocall_expression (macro_identifier) @name) @definition.call
(function_definition) @local
(macro_definition) @local
(let_statement) @local
(do_clause) @local
(arrow_function_expression) @local
(quote_statement) @local
(source_file (string_literal) @comment)
(module_definition (string_literal) @comment)
(struct_definition (string_literal) @comment)
(line_comment) @comment
(block_comment) @comment
