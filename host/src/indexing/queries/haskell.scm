; Haskell. A function is what its signature and its equations, which follow each other, define. What
; an instance defines belongs to the type that it is for.

(header module: (module) @name) @package
(data_type name: (_) @name) @definition.type
(newtype name: (_) @name) @definition.type
(type_synomym name: (_) @name) @definition.type
(type_family name: (_) @name) @definition.type
(data_family name: (_) @name) @definition.type
(class name: (_) @name) @definition.trait
(instance patterns: (type_patterns
  [(name) @name (qualified id: (name) @name) (list) @name (tuple) @name (unit) @name] .)) @type
(instance patterns: (type_patterns (parens [(name) @name (qualified id: (name) @name)]) .)) @type
(instance patterns: (type_patterns (parens (apply constructor: [(name) @name (qualified id: (name) @name)])) .)) @type
(instance patterns: (type_patterns (parens
  (apply constructor: (apply constructor: [(name) @name (qualified id: (name) @name)]))) .)) @type
(instance patterns: (type_patterns (parens
  (apply constructor: (apply constructor: (apply constructor: [(name) @name (qualified id: (name) @name)])))) .)) @type
(instance patterns: (type_patterns (parens
  (apply constructor: (apply constructor: (apply constructor: (apply constructor: [(name) @name (qualified id: (name) @name)]))))) .)) @type
(instance patterns: (type_patterns (parens
  (apply constructor: (apply constructor: (apply constructor: (apply constructor: (apply constructor: [(name) @name (qualified id: (name) @name)])))))) .)) @type
(signature name: (_) @name) @definition.signature
(signature names: (binding_list)) @definition.signature
(function name: (_) @name) @definition.function
; A function's type is a function node too, with a parameter.
(function !parameter (infix operator: (_) @name)) @definition.function
(bind name: (_) @name) @definition.binding
(function) @local
(bind) @local
(top_splice) @local
(comment) @comment
(haddock) @comment
