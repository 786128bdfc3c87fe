#include "QelAttributeBased.h"

#include <algorithm>
#include <utility>

#include "QelError.h"
#include "ZanBorrow.h"

QelAttributeBased::QelAttributeBased(QelAttributeBased const & source) : ZanRefCount() {
    source.checkCollections();
    // Stamps are taken in the order of the list. The map takes its entries in the order of keys, so
    // none needs a search.
    std::vector<MoxSmartPtr<QelAttribute>> clones;
    clones.reserve(source.attributeList_.size());
    for (Map::const_iterator const held : source.attributeList_)
        clones.push_back(held->second.attribute->clone(&source, this));
    attributeList_.resize(clones.size());
    for (auto const & [key, held] : source.attributeMap_) {
        attributeList_[held.index] = attributeMap_.emplace_hint(
            attributeMap_.end(), key, Held{std::move(clones[held.index]), held.index});
    }
}

QelAttributeBased::~QelAttributeBased() {
    // Destroying a callback or an attribute may still call this object: it is empty by then.
    Map attributes;
    attributes.swap(attributeMap_);
    attributeList_.clear();
    for (auto const & [key, held] : attributes)
        held.attribute->removeCallbacks(this);
}

bool QelAttributeBased::isLegalName(std::string_view name) {
    return name.find_first_of("=}\t") == name.npos && name.find("  ") == name.npos;
}

bool QelAttributeBased::addAttribute(MoxSmartPtr<QelAttribute> attribute) {
    return attribute && addAttribute(attribute, attribute->name());
}

bool QelAttributeBased::addAttribute(MoxSmartPtr<QelAttribute> attribute, std::string name) {
    checkCollections();
    if (!attribute) return false;
    if (!isLegalName(attribute->name())) {
        qelRaise(QelErrorCode::illegalAttributeName, "Illegal attribute name " + attribute->name());
    }
    if (attributeMap_.contains(name)) return false;
    // Whatever can fail is done before the collections differ.
    Map one;
    one.try_emplace(std::move(name), Held{std::move(attribute), attributeList_.size()});
    attributeList_.emplace_back();
    attributeList_.back() = attributeMap_.insert(one.extract(one.begin())).position;
    return true;
}

int QelAttributeBased::getNumAttributes() const {
    return static_cast<int>(attributeList_.size());
}

bool QelAttributeBased::isIndex(int index) const {
    return index >= 0 && static_cast<std::size_t>(index) < attributeList_.size();
}

MoxSmartPtr<QelAttribute> QelAttributeBased::getAttribute(int index) const {
    if (!isIndex(index)) return {};
    return attributeList_[static_cast<std::size_t>(index)]->second.attribute;
}

MoxSmartPtr<QelAttribute> QelAttributeBased::getAttribute(std::string_view name) const {
    auto const held = attributeMap_.find(name);
    if (held == attributeMap_.end()) return {};
    return held->second.attribute;
}

QelAttributeBased::Map::const_iterator QelAttributeBased::find(
    QelAttribute const * attribute) const {
    return std::find_if(
        attributeMap_.begin(), attributeMap_.end(),
        [attribute](auto const & entry) { return entry.second.attribute == attribute; });
}

std::string QelAttributeBased::getAttributeName(QelAttribute const * attribute) const {
    auto const held = find(attribute);
    if (held == attributeMap_.end()) qelRaise(QelErrorCode::misuse, "Could not find attribute");
    return held->first;
}

std::string QelAttributeBased::getAttributeName(int index) const {
    if (!isIndex(index)) qelRaise(QelErrorCode::misuse, "Could not find attribute");
    return attributeList_[static_cast<std::size_t>(index)]->first;
}

void QelAttributeBased::removeAttribute(std::string_view name) {
    remove(attributeMap_.find(name));
}

void QelAttributeBased::removeAttribute(int index) {
    if (isIndex(index)) remove(attributeList_[static_cast<std::size_t>(index)]);
}

void QelAttributeBased::removeAttribute(QelAttribute const * attribute) {
    remove(find(attribute));
}

void QelAttributeBased::remove(Map::const_iterator held) {
    checkCollections();
    if (held == attributeMap_.end() || held->second.attribute->locked()) return;
    MoxSmartPtr<QelAttribute> const attribute = held->second.attribute;
    std::size_t const index = held->second.index;
    attributeMap_.erase(held);
    attributeList_.erase(attributeList_.begin() + static_cast<std::ptrdiff_t>(index));
    for (std::size_t i = index; i < attributeList_.size(); ++i)
        attributeList_[i]->second.index = i;
    if (find(attribute) == attributeMap_.end()) attribute->removeCallbacks(this);
}

bool QelAttributeBased::renameAttribute(QelAttribute const * attribute, std::string newName) {
    return rename(find(attribute), std::move(newName));
}

bool QelAttributeBased::renameAttribute(std::string_view oldName, std::string newName) {
    return rename(attributeMap_.find(oldName), std::move(newName));
}

bool QelAttributeBased::rename(Map::const_iterator held, std::string newName) {
    checkCollections();
    // The old key is in the map, too.
    if (held == attributeMap_.end() || !isLegalName(newName) || attributeMap_.contains(newName)) {
        return false;
    }
    auto node = attributeMap_.extract(held);
    node.key() = std::move(newName);
    std::size_t const index = node.mapped().index;
    attributeList_[index] = attributeMap_.insert(std::move(node)).position;
    return true;
}

std::uint32_t QelAttributeBased::getLatestTimestamp(std::vector<std::string> const & names) const {
    if (names.empty()) qelRaise(QelErrorCode::noNamesGiven, "getLatestTimestamp");
    std::uint32_t latest = 0;
    for (std::string const & name : names) {
        auto const held = attributeMap_.find(name);
        if (held == attributeMap_.end()) qelRaise(QelErrorCode::noSuchAttribute, name);
        latest = std::max(latest, held->second.attribute->timestamp());
    }
    return latest;
}

void QelAttributeBased::copyAttributes(QelAttributeBased const & source) {
    source.checkCollections();
    checkCollections();
    // Callbacks may drop either object, and add and remove attributes.
    ZanBorrow const kept(this);
    auto const keptSource = zanKeepIfOwned(&source);  // others may copy from it at the same time
    for (std::size_t i = 0; i < source.attributeList_.size(); ++i) {
        auto const & [key, held] = *source.attributeList_[i];
        MoxSmartPtr<QelAttribute> const from = held.attribute;
        MoxSmartPtr<QelAttribute> const own = getAttribute(key);
        if (own) own->copyValue(*from);
    }
}

void QelAttributeBased::checkCollections() const {
    if (attributeMap_.size() == attributeList_.size()) return;
    qelRaise(QelErrorCode::attributesInconsistent, "Attribute collections are inconsistent");
}
