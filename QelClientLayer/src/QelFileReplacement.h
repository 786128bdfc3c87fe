#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// A new file that takes a name's place when it is complete. Until then it has its own name in the
// same folder, and is removed unless commit() succeeded.
class QelFileReplacement {
  public:
    // Raises invalidValue (13), as all operations here: "Cannot write ", the name, ": " and the
    // reason. A name that belongs to something other than a file is refused.
    explicit QelFileReplacement(std::string name);
    QelFileReplacement(QelFileReplacement const &) = delete;
    QelFileReplacement & operator=(QelFileReplacement const &) = delete;
    ~QelFileReplacement();

    std::string const & name() const { return name_; }

    // False on failure, with an error number in error(). Throws nothing: it is called by C
    // libraries.
    bool write(std::uint8_t const * bytes, std::size_t count) noexcept;
    int error() const { return error_; }

    // Flushes the data to disk and gives the file its name.
    void commit();

    [[noreturn]] void fail(std::string const & reason) const;

  private:
    void open(std::string const & folder);
    void check(int result) const;

    std::string name_;
    std::string target_;  // where the name leads
    std::string temporary_;
    int mode_ = -1;  // of the file that is there; -1 when there is none
    int file_ = -1;
    int error_ = 0;
};
