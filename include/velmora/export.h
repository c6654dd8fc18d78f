// Marks what a shared library offers to those who link it; everything else is hidden in it.
#pragma once

#define VELMORA_API __attribute__((visibility("default")))
