// Marks what the shared library shows to its users; everything else is compiled with hidden visibility.
#pragma once

#define CORVANE_API __attribute__((visibility("default")))
