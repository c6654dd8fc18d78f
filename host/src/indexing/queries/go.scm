; Go. A declaration of one type, constant or variable starts at its keyword, below its comment; those
; of a group start at their names, which the mark of the group sees to.

(package_clause (package_identifier) @name) @package
(type_declaration) @wrapper
(const_declaration) @wrapper
(var_declaration) @wrapper
(type_declaration "(") @group
(const_declaration "(") @group
(var_declaration (var_spec_list)) @group
(type_spec name: (_) @name type: (struct_type)) @definition.struct
(type_spec name: (_) @name type: (interface_type)) @definition.interface
(type_spec name: (_) @name) @definition.type
(type_alias name: (_) @name) @definition.type
(type_spec type: (interface_type (method_elem name: (_) @name) @definition.method))
(const_spec name: (identifier) @name) @definition.constant
(var_spec name: (identifier) @name) @definition.constant
(function_declaration name: (_) @name) @definition.function
(method_declaration name: (_) @name) @definition.method
(block) @local
(comment) @comment
