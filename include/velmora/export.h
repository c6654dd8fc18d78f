// Marks what a shared library offers to those who link it; everything else is hidden in it.
#pragma once

// Stands in front of a class, function or variable.
#define VELMORA_API __attribute__((visibility("default")))
