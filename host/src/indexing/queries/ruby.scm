; Ruby. What a constant holds tells the code that reads the matches.

(class name: (_) @name) @definition.class
(module name: (_) @name) @definition.class
(singleton_class value: (_) @name) @singleton
(method name: (_) @name) @definition.method
(singleton_method name: (_) @name) @definition.method
(assignment left: (constant) @name) @definition.constant
(operator_assignment left: (constant) @name) @definition.constant
(call arguments: (argument_list [(method) (singleton_method)])) @wrapper
(method body: (_) @local)
(singleton_method body: (_) @local)
(comment) @comment
