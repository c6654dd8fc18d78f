; What C++ has beyond C.

(namespace_definition name: (_) @name) @scope
(class_specifier body: (_)) @definition.class
(alias_declaration name: (_) @name) @definition.type
(concept_definition name: (_) @name) @definition.type
(template_declaration parameters: (_) @name) @wrapper
(template_parameter_list) @local
(friend_declaration) @friend
