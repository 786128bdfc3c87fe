#pragma once

// The one export macro. Symbols are hidden by default; public ones carry QEL_API.

#define QEL_API __attribute__((visibility("default")))
