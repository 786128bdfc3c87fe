#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// A new file that takes a name's place when it is complete. Until then it has a name of its own in
// the same folder, and goes when commit() was not reached.
class QelFileReplacement {
  public:
    // Raises invalidValue (13), as all operations here: "Cannot write ", the name, ": " and the
    // reason. A name that belongs to something else than a file is refused.
    explicit QelFileReplacement(std::string name);
    QelFileReplacement(QelFileReplacement const &) = delete;
    QelFileReplacement & operator=(QelFileReplacement const &) = delete;
    ~QelFileReplacement();

    std::string const & name() const { return name_; }

    // False on failure, with an error number in error(). Lets no exception out: it is called by
    // libraries in C.
    bool write(std::uint8_t const * bytes, std::size_t count) noexcept;
    int error() const { return error_; }

    // Brings the data to the disk and gives the file its name.
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
