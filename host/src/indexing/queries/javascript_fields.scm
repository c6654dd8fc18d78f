
; The fields of JavaScript's classes, which TypeScript names otherwise.

(class_body (field_definition property: (_) @name) @definition.field) @owner
(field_definition property: (_) @name value: (object) @definition.object)
