; Dart. A body stands behind what it belongs to. Which members are constants or constructors tells
; the code that reads the matches.

(class_definition name: (_) @name) @definition.class
(class_definition (mixin_application_class . (identifier) @name)) @definition.class
(mixin_declaration (identifier) @name) @definition.class
(enum_declaration name: (_) @name) @definition.enum
(extension_declaration name: (_) @name) @definition.class
(extension_declaration !name class: (type_identifier) @name) @type
(extension_type_declaration name: (_) @name) @definition.class
(type_alias) @definition.type
((method_signature) @definition.member . (function_body) @last)
(method_signature) @definition.member
(declaration) @definition.member
(program [(function_signature) (getter_signature) (setter_signature)] @definition.function
  . (function_body) @last)
(program [(function_signature) (getter_signature) (setter_signature)] @definition.function)
(program (const_builtin) @definition.constants . (static_final_declaration_list) @last)
(program (const_builtin) @definition.constants . (_) . (static_final_declaration_list) @last)
(program (const_builtin) @definition.constants . (_) . (type_arguments)
  . (static_final_declaration_list) @last)
(annotation) @attribute
(function_body) @local
(function_expression_body) @local
(comment) @comment
(documentation_comment) @comment
