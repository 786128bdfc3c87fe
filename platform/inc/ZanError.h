#pragma once

#include <atomic>
#include <exception>
#include <iosfwd>
#include <string>
#include <utility>

#include "QelExport.h"

// A failure: the component that reports it, an integer code, the source position of the report and
// a text. The code is the contract, the text is for people. Code 0 stands for "good", so an error
// can also be the status of an operation that has not failed.
//
// A value class. Several threads may read one error while none changes it; the system-error
// functions refer to the calling thread.
//
// A text that is passed on and added to on the way, as bad statuses are from transform to
// transform, is extended by appendMsg() and prependMsg(). These turn it into pieces, which copies
// share, so that 100,000 errors of which each says a little more than the one before take memory
// for what each of them adds. The pieces are joined when an error is asked for its text, once for
// each error.
class QEL_API ZanError : public std::exception {
  public:
    // Code 0, no component, the text "no error".
    ZanError();

    // The text starts as COMPONENT, " error ", the code in decimal: "QEL error 7".
    // A null component or file counts as empty.
    ZanError(char const * component, int code, char const * file, int line);

    ZanError(ZanError const &) = default;
    ZanError & operator=(ZanError const &) = default;

    ~ZanError() override;

    // The same text as getMsg(); where there is no memory to join its pieces, the piece that was
    // added last.
    char const * what() const noexcept override;

    // The text, never null. Valid until the error is changed or destroyed. Raises std::bad_alloc
    // where there is no memory to join pieces.
    virtual char const * getMsg() const;

    // Replace the whole text. A null text counts as empty. Return this error.
    ZanError & setMsg(char const * text);
    ZanError & setMsg(std::string const & text);

    // Add to the end of the text, and to its start. Return this error.
    ZanError & appendMsg(std::string text);
    ZanError & prependMsg(std::string text);
    // Adds the text of another error, sharing the pieces that it has; those of this one are joined.
    ZanError & appendMsg(ZanError const & other);

    int getErrcode() const { return code_; }
    char const * getComponent() const { return component_.c_str(); }
    char const * getFile() const { return file_.c_str(); }
    int getLine() const { return line_; }

    // Component, code, file, line and text, without an end of line. The text "Bad index" of a QEL
    // error 7 comes out as "QEL error 7 at QelTile.cpp:41: Bad index"; line breaks within the text
    // stay. The position is left out while useLines is false and when there is no file. The
    // stream's number and width formatting is ignored.
    void print(std::ostream & out) const;

    // The operating system's last error code of the calling thread (errno), and its text.
    static int getSystemErrorCode();
    static std::string getSystemErrorMsg();

    // When false, messages leave out source lines and file names. Set before threads start.
    static bool useLines;

  private:
    // A text in pieces, or nothing.
    class QEL_API Pieces {
      public:
        Pieces() = default;
        explicit Pieces(std::string text);
        Pieces(Pieces const & other) noexcept;
        Pieces & operator=(Pieces const & other) noexcept;
        ~Pieces();

        bool isEmpty() const { return last_ == nullptr; }
        // Require: not empty.
        void append(std::string text) { add(std::move(text), false); }
        void prepend(std::string text) { add(std::move(text), true); }
        std::string const & joined() const;
        char const * lastAdded() const noexcept;

      private:
        struct Piece;

        void add(std::string text, bool isAhead);
        std::string join() const;
        void forgetJoined() noexcept;
        static void hold(Piece const * piece) noexcept;
        static void release(Piece const * piece) noexcept;

        Piece const * last_ = nullptr;  // counted
        // Owned; set once, by the first of the threads that ask.
        mutable std::atomic<std::string const *> joined_{nullptr};
    };

    std::string const & text() const { return pieces_.isEmpty() ? msg_ : pieces_.joined(); }
    Pieces inPieces() const { return pieces_.isEmpty() ? Pieces(msg_) : pieces_; }
    void setPieces(Pieces const & pieces) noexcept;

    std::string component_;
    int code_ = 0;
    std::string file_;
    int line_ = 0;
    std::string msg_;  // the text, unless it is in pieces
    Pieces pieces_;
};
