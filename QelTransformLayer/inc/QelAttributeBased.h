#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelAttribute.h"
#include "ZanRefCount.h"

// An object that has attributes, each under a name, the key, and in the order in which they were
// added, which is that of the indices from 0 on. Classes whose objects a client configures derive
// from it and add their attributes in the constructor.
//
// An attribute is shared with whoever else holds it. Its callbacks whose target is this object go
// when it is removed and when the object ends, so that an attribute which a client keeps never
// calls an object that is gone.
//
// One object is used by one thread at a time; as long as none changes it, any number may look.
// Operations on one attribute by key take time logarithmic in the number of attributes, by index
// constant; getAttributeName() of an attribute, renaming one, and removing take linear time.
class QEL_API QelAttributeBased : public virtual ZanRefCount {
  public:
    QelAttributeBased() = default;
    // Clones of the attributes, under the same keys and in the same order. Callbacks whose target
    // is `source` have clones there, with this object as the target; others stay behind.
    QelAttributeBased(QelAttributeBased const & source);
    QelAttributeBased & operator=(QelAttributeBased const &) = delete;
    virtual ~QelAttributeBased();

    // May an attribute have this name? Not with "=", "}", a tab, or two blanks in a row, which the
    // text form of a graph could not tell from its own.
    static bool isLegalName(std::string_view name);

    // Adds an attribute under its own name, or under `name`. False, with no change, for a null
    // pointer and for a key that is taken. Raises illegalAttributeName (24) "Illegal attribute name
    // " and the attribute's own name, which is the one that is tested in both forms, unless
    // isLegalName().
    bool addAttribute(MoxSmartPtr<QelAttribute> attribute);
    bool addAttribute(MoxSmartPtr<QelAttribute> attribute, std::string name);

    int getNumAttributes() const;

    // Null for an index out of range and for a name that is no key.
    MoxSmartPtr<QelAttribute> getAttribute(int index) const;
    MoxSmartPtr<QelAttribute> getAttribute(std::string_view name) const;

    // The key under which an attribute is held: the first in alphabetical order where there are
    // several. Raises misuse (3) "Could not find attribute".
    std::string getAttributeName(QelAttribute const * attribute) const;
    std::string getAttributeName(int index) const;

    // Nothing happens to a locked attribute, nor for one that is not there.
    void removeAttribute(std::string_view name);
    void removeAttribute(int index);
    void removeAttribute(QelAttribute const * attribute);

    // Another key; the attribute's own name and its place in the order stay. False, with no
    // change, for a new name that is taken, illegal, or the old one, and for an attribute that is
    // not there.
    bool renameAttribute(QelAttribute const * attribute, std::string newName);
    bool renameAttribute(std::string_view oldName, std::string newName);

    // The largest stamp of the attributes under these keys: a result that was made when it was the
    // same is not stale. Raises noNamesGiven (6) "getLatestTimestamp" for no names,
    // noSuchAttribute (20) with the name as the text for one that is no key.
    std::uint32_t getLatestTimestamp(std::vector<std::string> const & names) const;

    // Takes over the values of the attributes that have the same key and the same type here;
    // others stay as they are. Raises what QelAttribute::copyValue() raises, at a locked attribute
    // for instance; the ones before it have their new values then. Both objects live until it is
    // done, even if callbacks drop them.
    void copyAttributes(QelAttributeBased const & source);

  private:
    // Breaks the collections on purpose.
    friend class QelAttributeBasedBreaker;

    struct Held {
        MoxSmartPtr<QelAttribute> attribute;
        std::size_t index;  // in attributeList_
    };
    using Map = std::map<std::string, Held, std::less<>>;

    // Raises attributesInconsistent (22) "Attribute collections are inconsistent".
    void checkCollections() const;
    bool isIndex(int index) const;
    Map::const_iterator find(QelAttribute const * attribute) const;
    void remove(Map::const_iterator held);
    bool rename(Map::const_iterator held, std::string newName);

    Map attributeMap_;
    std::vector<Map::iterator> attributeList_;
};
