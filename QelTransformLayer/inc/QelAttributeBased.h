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

// An object that has attributes. Each has a key, which is a name, and an index, from 0 in the order
// of adding. Classes whose objects a client configures derive from it and add their attributes in
// the constructor.
//
// An attribute is shared with any other holder. Callbacks whose target is this object are deleted
// when the attribute is removed and when the object is destroyed, so an attribute that a client
// keeps never calls a dead object.
//
// One thread at a time uses an object; as long as none changes it, any number may read it. Access
// by key takes time logarithmic in the number of attributes, access by index constant time.
// getAttributeName() of an attribute, renaming and removing take linear time.
class QEL_API QelAttributeBased : public virtual ZanRefCount {
  public:
    QelAttributeBased() = default;
    // Clones of the attributes, under the same keys and in the same order. Callbacks whose target
    // is `source` are cloned, with this object as the target; others are not copied.
    QelAttributeBased(QelAttributeBased const & source);
    QelAttributeBased & operator=(QelAttributeBased const &) = delete;
    virtual ~QelAttributeBased();

    // Whether an attribute may have this name. "=", "}", a tab and two blanks in a row are illegal:
    // the text form of a graph uses them itself.
    static bool isLegalName(std::string_view name);

    // Adds an attribute under its own name, or under `name`. Returns false and changes nothing for
    // a null pointer or a key that is taken. Raises illegalAttributeName (24) "Illegal attribute
    // name " and the attribute's own name, which both forms test, unless isLegalName().
    bool addAttribute(MoxSmartPtr<QelAttribute> attribute);
    bool addAttribute(MoxSmartPtr<QelAttribute> attribute, std::string name);

    int getNumAttributes() const;

    // Null for an index out of range or an unknown key.
    MoxSmartPtr<QelAttribute> getAttribute(int index) const;
    MoxSmartPtr<QelAttribute> getAttribute(std::string_view name) const;

    // The key of an attribute; the first in alphabetical order if it has several. Raises misuse (3)
    // "Could not find attribute".
    std::string getAttributeName(QelAttribute const * attribute) const;
    std::string getAttributeName(int index) const;

    // Does nothing for a locked or missing attribute.
    void removeAttribute(std::string_view name);
    void removeAttribute(int index);
    void removeAttribute(QelAttribute const * attribute);

    // Changes the key; the attribute's own name and its index stay. Returns false and changes
    // nothing if the new name is taken, illegal, or the old one, or if there is no such attribute.
    bool renameAttribute(QelAttribute const * attribute, std::string newName);
    bool renameAttribute(std::string_view oldName, std::string newName);

    // The largest stamp of the attributes under these keys; a result computed at the same stamp is
    // not stale. Raises noNamesGiven (6) "getLatestTimestamp" for no names, noSuchAttribute (20)
    // with the name as the text for an unknown key.
    std::uint32_t getLatestTimestamp(std::vector<std::string> const & names) const;

    // Takes over the values of attributes with the same key and type; others keep theirs. Raises
    // what QelAttribute::copyValue() raises, for a locked attribute for instance; those before it
    // then have their new values. Both objects are kept until it is done, even if callbacks drop
    // them.
    void copyAttributes(QelAttributeBased const & source);

  private:
    // Corrupts the collections on purpose.
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
