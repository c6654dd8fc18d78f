; Ruby. What a constant holds tells the code that reads the matches.

(class name: (_) @name) @definition.class
(module name: (_) @name) @definition.class
(singleton_class value: (_) @name) @singleton
(method name: (_) @name) @definition.method
(singleton_method name: (_) @name) @definition.method
(assignment left: [(constant) (scope_resolution)] @name) @definition.constant
(operator_assignment left: (constant) @name) @definition.constant
((call !receiver method: (identifier) @name) @definition.called
  (#any-of? @name "attr_reader" "attr_writer" "attr_accessor" "attr" "define_method"
                  "define_singleton_method"))
(call arguments: (argument_list [(method) (singleton_method)])) @wrapper
((call !receiver method: (identifier) @_word arguments: (argument_list (call))) @wrapper
  (#any-of? @_word "private" "protected" "public" "private_class_method"))
(method body: (_) @local)
(singleton_method body: (_) @local)
((call !receiver method: (identifier) @_word block: (_) @local)
  (#any-of? @_word "define_method" "define_singleton_method"))
((call !receiver method: (identifier) @_word block: (_) @singleton)
  (#any-of? @_word "class_methods"))

; What stands in a class without a name is nobody's.
((call receiver: (constant) @_maker method: (identifier) block: (_) @local)
  (#any-of? @_maker "Class" "Module" "Struct" "Data"))
((assignment left: [(constant) (scope_resolution)]
  right: (call receiver: (constant) @_maker block: (_) @open))
  (#any-of? @_maker "Class" "Module" "Struct" "Data"))
(comment) @comment
