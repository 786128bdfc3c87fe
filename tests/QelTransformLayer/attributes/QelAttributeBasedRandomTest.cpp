#include <algorithm>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "AttributeTesting.h"

// Random operations against a list of keys and attributes that is searched from its start.

namespace {

constexpr unsigned seed = 50123;

// What an object should have.
class Model {
  public:
    struct Entry {
        std::string key;
        IntPtr attribute;
    };
    static constexpr int none = -1;

    std::vector<Entry> const & entries() const { return entries_; }
    int count() const { return static_cast<int>(entries_.size()); }
    Entry const & operator[](int index) const { return entries_[static_cast<std::size_t>(index)]; }

    int find(std::string const & key) const {
        for (int i = 0; i < count(); ++i)
            if ((*this)[i].key == key) return i;
        return none;
    }

    // The entry whose key is the first in alphabetical order.
    int find(QelAttribute const * attribute) const {
        int found = none;
        for (int i = 0; i < count(); ++i) {
            if ((*this)[i].attribute.get() != attribute) continue;
            if (found == none || (*this)[i].key < (*this)[found].key) found = i;
        }
        return found;
    }

    bool add(IntPtr const & attribute, std::string const & key) {
        if (!attribute || find(key) != none) return false;
        entries_.push_back({key, attribute});
        ++callbacks_[attribute.get()];
        return true;
    }

    void remove(int index) {
        if (index < 0 || index >= count() || (*this)[index].attribute->locked()) return;
        IntPtr const attribute = (*this)[index].attribute;
        entries_.erase(entries_.begin() + index);
        if (find(attribute.get()) == none) callbacks_[attribute.get()] = 0;
    }

    bool rename(int index, std::string const & newName) {
        if (index == none || find(newName) != none || !isLegal(newName)) return false;
        entries_[static_cast<std::size_t>(index)].key = newName;
        return true;
    }

    int callbacks(IntPtr const & attribute) const {
        auto const found = callbacks_.find(attribute.get());
        return found == callbacks_.end() ? 0 : found->second;
    }

    static bool isLegal(std::string const & name) {
        for (char const * part : {"=", "}", "\t", "  "})
            if (name.find(part) != std::string::npos) return false;
        return true;
    }

  private:
    std::vector<Entry> entries_;
    std::map<QelAttribute const *, int> callbacks_;
};

class QelAttributeBasedRandomTest : public testing::Test {
  protected:
    QelAttributeBasedRandomTest() {
        for (int i = 0; i < 24; ++i)
            pool_.push_back(new IntAttribute(std::string("n") + std::to_string(i % 20), i));
    }

    int below(int end) { return std::uniform_int_distribution<int>(0, end - 1)(random_); }
    IntPtr anyAttribute() { return pool_[static_cast<std::size_t>(below(24))]; }

    // Few enough that many are taken; keys that begin alike, and illegal new names.
    std::string anyKey() {
        if (below(3) == 0 && model_.count() > 0) return model_[below(model_.count())].key;
        std::string const key = std::string("n") + std::to_string(below(30));
        char const * const ends[] = {"", "", "", " x", "a", "=", "  "};
        return key + ends[below(7)];
    }

    void add() {
        IntPtr const attribute = anyAttribute();
        bool const ownName = below(2) == 0;
        std::string const key = ownName ? attribute->name() : anyKey();
        bool const added =
            ownName ? object_->addAttribute(attribute) : object_->addAttribute(attribute, key);
        ASSERT_EQ(model_.add(attribute, key), added);
        if (added) object_->listenTo(*attribute);
    }

    void removeByName() {
        std::string const key = anyKey();
        object_->removeAttribute(key);
        int const index = model_.find(key);
        if (index != Model::none) model_.remove(index);
    }

    void removeByIndex() {
        int const index = below(model_.count() + 3) - 1;
        object_->removeAttribute(index);
        model_.remove(index);
    }

    void removeByAttribute() {
        IntPtr const attribute = anyAttribute();
        object_->removeAttribute(attribute);
        int const index = model_.find(attribute);
        if (index != Model::none) model_.remove(index);
    }

    void renameByName() {
        std::string const key = anyKey();
        std::string const newName = anyKey();
        ASSERT_EQ(model_.rename(model_.find(key), newName), object_->renameAttribute(key, newName))
            << key << " to " << newName;
    }

    void renameByAttribute() {
        IntPtr const attribute = anyAttribute();
        std::string const newName = anyKey();
        ASSERT_EQ(model_.rename(model_.find(attribute), newName),
                  object_->renameAttribute(attribute, newName))
            << newName;
    }

    void lock() {
        IntPtr const attribute = anyAttribute();
        below(4) == 0 ? attribute->lock() : attribute->unlock();
    }

    void step() {
        switch (below(10)) {
            case 0:
            case 1:
            case 2:
            case 3: return add();
            case 4: return removeByName();
            case 5: return removeByIndex();
            case 6: return removeByAttribute();
            case 7: return renameByName();
            case 8: return renameByAttribute();
            default: return lock();
        }
    }

    void checkEntries() const {
        ASSERT_EQ(model_.count(), object_->getNumAttributes());
        for (int i = 0; i < model_.count(); ++i) {
            ASSERT_EQ(model_[i].attribute.get(), object_->getAttribute(i).get());
            ASSERT_EQ(model_[i].attribute.get(), object_->getAttribute(model_[i].key).get());
            ASSERT_EQ(model_[i].key, object_->getAttributeName(i));
            ASSERT_EQ(model_[model_.find(model_[i].attribute)].key,
                      object_->getAttributeName(model_[i].attribute));
        }
        ASSERT_FALSE(object_->getAttribute(model_.count()));
    }

    void checkLookups() {
        std::string const key = anyKey();
        int const index = model_.find(key);
        ASSERT_EQ(index == Model::none ? nullptr : model_[index].attribute.get(),
                  object_->getAttribute(key).get());
    }

    void checkPool() const {
        for (IntPtr const & attribute : pool_) {
            auto const holders = std::count_if(
                model_.entries().begin(), model_.entries().end(),
                [&](Model::Entry const & entry) { return entry.attribute == attribute; });
            // The model holds it as well.
            ASSERT_EQ(1 + 2 * holders, attribute->refCount());
            ASSERT_EQ(model_.callbacks(attribute), attribute->numCallbacks());
        }
    }

    void checkStamps() {
        if (model_.count() == 0) return;
        std::vector<std::string> names;
        std::uint32_t latest = 0;
        for (int i = below(5); i >= 0; --i) {
            Model::Entry const & entry = model_[below(model_.count())];
            names.push_back(entry.key);
            latest = std::max(latest, entry.attribute->timestamp());
        }
        ASSERT_EQ(latest, object_->getLatestTimestamp(names));
        anyAttribute()->changed();
    }

    void checkCopy() const {
        Listener const copy(*object_);
        ASSERT_EQ(model_.count(), copy.getNumAttributes());
        for (int i = 0; i < model_.count(); ++i) {
            IntPtr const clone = IntAttribute::of(copy.getAttribute(i));
            ASSERT_EQ(model_[i].key, copy.getAttributeName(i));
            ASSERT_EQ(model_[i].attribute->getValue(), clone->getValue());
            ASSERT_EQ(clone.get(), copy.getAttribute(model_[i].key).get());
            ASSERT_EQ(model_.callbacks(model_[i].attribute), clone->numCallbacks());
            ASSERT_EQ(1 + 1, clone->refCount());
        }
    }

    std::mt19937 random_{seed};
    std::vector<IntPtr> pool_;
    Model model_;
    MoxSmartPtr<Listener> object_{new Listener};
};

TEST_F(QelAttributeBasedRandomTest, DoesWhatTheModelDoes) {
    std::cout << "seed " << seed << '\n';
    int largest = 0;
    for (int i = 0; i < 6000; ++i) {
        SCOPED_TRACE(std::string("step ") + std::to_string(i));
        ASSERT_NO_FATAL_FAILURE(step());
        ASSERT_NO_FATAL_FAILURE(checkEntries());
        ASSERT_NO_FATAL_FAILURE(checkLookups());
        ASSERT_NO_FATAL_FAILURE(checkPool());
        ASSERT_NO_FATAL_FAILURE(checkStamps());
        if (i % 50 == 0) {
            ASSERT_NO_FATAL_FAILURE(checkCopy());
        }
        largest = std::max(largest, model_.count());
    }
    // It was not all about empty objects.
    EXPECT_GT(largest, 8);
    object_.release();
    for (IntPtr const & attribute : pool_)
        EXPECT_EQ(0, attribute->numCallbacks());
}

}  // namespace
