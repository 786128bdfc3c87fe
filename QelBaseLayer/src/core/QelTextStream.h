#pragma once

#include <locale>
#include <sstream>

// Puts messages together. Their numbers are the same wherever the program runs: a client's own
// locale would group the digits.
class QelTextStream : public std::ostringstream {
  public:
    QelTextStream() { imbue(std::locale::classic()); }
};
