; What Objective-C has beyond C. A category or an extension adds to a class and is no symbol of its
; own; what is a category tells the code that reads the matches.

(class_interface . (identifier) @name) @definition.class
(class_implementation . (identifier) @name) @definition.class
(protocol_declaration . (identifier) @name) @definition.interface
(class_interface . (identifier) @name . "(") @type
(class_implementation . (identifier) @name . "(") @type
(method_declaration) @definition.method
(method_definition) @definition.method
(block_literal) @local
