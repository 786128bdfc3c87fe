#include "QelErrorFrames.h"

#include <exception>

#include "QelCoreMisc.h"

namespace {

// "KIND preRender/doRender in sink SINK with label LABEL"
std::string renderSentence(char const * kind, std::string const & sink, std::string const & label) {
    return kind + (" during preRender/doRender in sink " + sink) + " with label " + label;
}

// The text of the exception in flight. Requires: there is one, called in its handler. `tail` is the
// text for an unknown exception. A ZanError passes.
std::string tellForeign(std::string const & sink, std::string const & label,
                        std::string const & tail) {
    try {
        throw;
    } catch (ZanError const &) {
        throw;
    } catch (std::exception const & error) {
        return renderSentence("C++ Exception", sink, label) +
               "\nException Class = " + QelCoreMisc::classNameOf(error) +
               "\nMessage String = " + error.what();
    } catch (char const * text) {  // a char * as well
        return renderSentence("(char *) Exception", sink, label) +
               "\nMessage String = " + (text != nullptr ? text : "");
    } catch (long value) {
        return renderSentence("(long) Exception", sink, label) +
               "\nInteger Value = " + std::to_string(value);
    } catch (...) {
        return renderSentence("Unknown exception", sink, label) + tail;
    }
}

}  // namespace

void qelRaiseSystemFrame(std::string const & sentence, ZanSourceLocation const & here) {
    // Both are read first, since anything that follows may call the system too.
    int const code = ZanError::getSystemErrorCode();
    std::string const text = ZanError::getSystemErrorMsg();
    QelError error(QelErrorCode::unexpectedException, sentence, here.file_name(),
                   static_cast<int>(here.line()));
    error.setMsg(sentence + "System error code = " + std::to_string(code) +
                 "\nSystem error string = " + text);
    throw error;
}

void qelRaiseLastErrorFrame(std::string const & action, std::string const & object,
                            ZanSourceLocation const & here) {
    std::string const tail = qelLastErrorTail();
    qelRaise(QelErrorCode::unexpectedException,
             "\nUnknown exception during " + action + "\nagainst " + object + tail, here);
}

std::string qelLastErrorTail() {
    return "\nWindows function GetLastError() returned error code value " +
           std::to_string(ZanError::getSystemErrorCode());
}

void qelAddRethrowFrame(ZanError & error, ZanSourceLocation const & here) {
    std::string const place = ZanError::useLines
                                  ? std::to_string(here.line()) + " in file " + here.file_name()
                                  : "XXX in file FFF";
    error.setMsg(error.getMsg() + ("\n[exception caught and rethrown near line " + place) + ']');
}

void qelRaiseForeignFrame(std::string const & sink, std::string const & label,
                          ZanSourceLocation const & here) {
    std::string const tail = qelLastErrorTail();
    qelRaise(QelErrorCode::renderFailed, tellForeign(sink, label, tail), here);
}
