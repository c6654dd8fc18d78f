; Bash. The flags of a declaration tell the code that reads the matches whether it makes constants.

(function_definition name: (_) @name) @definition.function
(declaration_command ["readonly" "declare" "typeset"]
  (variable_assignment name: (_) @name) @definition.constant)
(declaration_command ["readonly" "declare" "typeset"] (variable_name) @name @definition.constant)
(declaration_command ["readonly" "declare" "typeset"]) @wrapper
(function_definition body: (_) @local)
(comment) @comment
