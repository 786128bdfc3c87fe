#pragma once

// The one export macro. Symbols are hidden by default; what clients may use carries QEL_API.

#define QEL_API __attribute__((visibility("default")))
