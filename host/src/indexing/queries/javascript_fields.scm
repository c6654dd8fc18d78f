
; The fields of JavaScript's classes, which TypeScript names otherwise.

(field_definition property: (_) @name value: [(function_expression) (arrow_function)]) @definition.method
