#pragma once

#include <exception>
#include <iosfwd>
#include <string>

#include "QelExport.h"

// A failure: the component that reports it, an integer code, the source position of the report and
// a text. The code is the contract, the text is for people. Code 0 stands for "good", so an error
// can also be the status of an operation that has not failed.
//
// A value class. One object is used by one thread at a time; the system-error functions refer to
// the calling thread.
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

    // The same text as getMsg().
    char const * what() const noexcept override;

    // The text, never null. Valid until the error is changed or destroyed.
    virtual char const * getMsg() const;

    // Replace the whole text. A null text counts as empty. Return this error.
    ZanError & setMsg(char const * text);
    ZanError & setMsg(std::string const & text);

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
    std::string component_;
    int code_ = 0;
    std::string file_;
    int line_ = 0;
    std::string msg_;
};
