; R. What is assigned, and which calls define something, tells the code that reads the matches.

(binary_operator lhs: (_) @name rhs: (function_definition)) @definition.function
(binary_operator lhs: (_) @name) @definition.assigned
(call function: (_) @name) @definition.call
(argument name: (_) @name value: (function_definition)) @definition.member
(binary_operator rhs: (call)) @wrapper
(argument value: (braced_expression) @local)
(function_definition body: (_) @local)
(comment) @comment
