#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

// A file that is read from its start to its end, a chunk at a time.
class QelFileSource {
  public:
    // Opens the file and reads its first chunk. Raises invalidValue (13), with the file's name and
    // the system's reason.
    explicit QelFileSource(std::string name);
    QelFileSource(QelFileSource const &) = delete;
    QelFileSource & operator=(QelFileSource const &) = delete;
    ~QelFileSource();

    std::string const & name() const { return name_; }

    // The current chunk.
    std::uint8_t const * data() const { return chunk_.get(); }
    std::size_t size() const { return size_; }

    // Replaces it by the next one. False at the end of the file, or with an error number in
    // error(). Throws nothing: it is called by C libraries.
    bool next() noexcept;
    int error() const { return error_; }

    // Raises invalidValue (13): "Cannot read ", the name, ": " and the reason.
    [[noreturn]] void fail(std::string const & reason) const;

  private:
    void readFirstChunk();
    std::size_t readInto(std::size_t at) noexcept;

    std::string name_;
    int file_ = -1;
    int error_ = 0;
    std::unique_ptr<std::uint8_t[]> chunk_;
    std::size_t size_ = 0;
};
