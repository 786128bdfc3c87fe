#pragma once

#include <cstdint>
#include <memory>

// "This thread is inside of X": in a compute that an image started, in a release, and the like. An
// object of a class derived from QelThreadScope says so from its construction to its destruction,
// which is on the same thread. The scopes of a thread end in the reverse order of their beginning,
// as local variables do.
//
//     class Computing : public QelThreadScope<Computing> {
//       public:
//         explicit Computing(Qel2DImage const & image) : QelThreadScope(&image) {}
//     };
//     if (Computing::innermost(&image) != nullptr) ...
//
// Beginning and ending a scope and looking for one take the same few nanoseconds at any depth:
// requests for pixels go up chains of thousands of images. Nothing can fail. Up to 64 scopes within
// each other no memory is allocated.

// A scope apart from its kind.
class QelThreadScopeEntry {
  public:
    QelThreadScopeEntry(QelThreadScopeEntry const &) = delete;
    QelThreadScopeEntry & operator=(QelThreadScopeEntry const &) = delete;

  protected:
    // `kind` is an address that scopes of other kinds do not have.
    QelThreadScopeEntry(void const * kind, void const * object) noexcept;
    ~QelThreadScopeEntry();

    // The innermost one of the calling thread; null when there is none.
    static QelThreadScopeEntry * find(void const * kind, void const * object) noexcept;

  private:
    struct Stack;

    static Stack & stackOfThread() noexcept;

    Stack & stack_;
    void const * kind_;
    void const * object_;
    QelThreadScopeEntry * outer_;                       // the one around it, of any kind
    QelThreadScopeEntry * next_;                        // further out, in the same bucket
    std::unique_ptr<QelThreadScopeEntry *[]> buckets_;  // in the outermost one of a deep stack
};

// The base of the scopes of a kind. `Kind` is the derived class.
template <class Kind>
class QelThreadScope : private QelThreadScopeEntry {
  public:
    // The innermost scope of this kind in which the calling thread is for `object`; null when it is
    // in none.
    static Kind * innermost(void const * object) noexcept {
        return static_cast<Kind *>(static_cast<QelThreadScope *>(find(&kind, object)));
    }

  protected:
    // Null is allowed where scopes of a kind need no distinction.
    explicit QelThreadScope(void const * object) noexcept : QelThreadScopeEntry(&kind, object) {}
    ~QelThreadScope() = default;

  private:
    static constexpr char kind = 0;
};
