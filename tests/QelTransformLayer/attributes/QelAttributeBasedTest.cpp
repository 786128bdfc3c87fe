#include "QelAttributeBased.h"

#include <climits>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AttributeTesting.h"
#include "ExpectError.h"

// Makes the two collections differ, and alike again.
class QelAttributeBasedBreaker {
  public:
    enum Side { ListIsLonger, MapIsLonger };

    QelAttributeBasedBreaker(QelAttributeBased & object, Side side) : object_(object), side_(side) {
        if (side == ListIsLonger) {
            object.attributeList_.push_back(object.attributeList_.front());
        } else {
            last_ = object.attributeList_.back();
            object.attributeList_.pop_back();
        }
    }
    QelAttributeBasedBreaker(QelAttributeBasedBreaker const &) = delete;
    QelAttributeBasedBreaker & operator=(QelAttributeBasedBreaker const &) = delete;
    ~QelAttributeBasedBreaker() {
        if (side_ == ListIsLonger) {
            object_.attributeList_.pop_back();
        } else {
            object_.attributeList_.push_back(last_);
        }
    }

  private:
    QelAttributeBased & object_;
    Side side_;
    QelAttributeBased::Map::iterator last_;
};

namespace {

using Names = std::vector<std::string>;

IntPtr number(std::string const & name, int value = 0) {
    return new IntAttribute(name, value);
}

// The keys in the order of the indices.
Names keys(QelAttributeBased const & object) {
    Names names;
    for (int i = 0; i < object.getNumAttributes(); ++i)
        names.push_back(object.getAttributeName(i));
    return names;
}

// The object's collections name the same attributes.
void expectConsistent(QelAttributeBased const & object) {
    for (int i = 0; i < object.getNumAttributes(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_TRUE(object.getAttribute(i));
        EXPECT_EQ(object.getAttribute(object.getAttributeName(i)).get(),
                  object.getAttribute(i).get());
    }
}

class QelAttributeBasedTest : public testing::Test {
  protected:
    // Not in alphabetical order.
    QelAttributeBasedTest() {
        for (IntPtr const & attribute : {second_, first_, third_})
            EXPECT_TRUE(object_.addAttribute(attribute));
    }

    void expectUnchanged() const {
        EXPECT_EQ((Names{"second", "first", "third"}), keys(object_));
        EXPECT_EQ(second_.get(), object_.getAttribute(0).get());
        EXPECT_EQ(first_.get(), object_.getAttribute(1).get());
        EXPECT_EQ(third_.get(), object_.getAttribute(2).get());
        expectConsistent(object_);
    }

    IntPtr const first_ = number("first", 1);
    IntPtr const second_ = number("second", 2);
    IntPtr const third_ = number("third", 3);
    Listener object_;
};

// ---- Adding

TEST_F(QelAttributeBasedTest, AnObjectStartsWithoutAttributes) {
    QelAttributeBased const empty;
    EXPECT_EQ(0, empty.getNumAttributes());
    EXPECT_FALSE(empty.getAttribute(0));
    EXPECT_FALSE(empty.getAttribute(""));
}

TEST_F(QelAttributeBasedTest, AttributesKeepTheOrderOfTheirAddition) {
    EXPECT_EQ(3, object_.getNumAttributes());
    expectUnchanged();
}

TEST_F(QelAttributeBasedTest, AddingSharesTheAttribute) {
    EXPECT_EQ(2, first_->refCount());
    EXPECT_EQ(0, object_.refCount());
}

TEST_F(QelAttributeBasedTest, ANullPointerIsNotAdded) {
    EXPECT_FALSE(object_.addAttribute(nullptr));
    EXPECT_FALSE(object_.addAttribute(nullptr, "name"));
    expectUnchanged();
}

// Adding a second attribute with a name already in the map returns false and leaves both
// collections unchanged.
TEST_F(QelAttributeBasedTest, ANameThatIsTakenIsNotAddedAgain) {
    IntPtr const other = number("first", 9);
    EXPECT_FALSE(object_.addAttribute(other));
    EXPECT_FALSE(object_.addAttribute(first_));
    EXPECT_FALSE(object_.addAttribute(number("other"), "first"));
    EXPECT_EQ(1, other->refCount());
    expectUnchanged();
}

TEST_F(QelAttributeBasedTest, AddingUnderAnotherName) {
    IntPtr const other = number("first", 9);
    EXPECT_TRUE(object_.addAttribute(other, "fourth"));
    EXPECT_EQ(other.get(), object_.getAttribute("fourth").get());
    EXPECT_EQ(first_.get(), object_.getAttribute("first").get());
    EXPECT_EQ("first", other->name());
    EXPECT_EQ("fourth", object_.getAttributeName(other));
    EXPECT_EQ((Names{"second", "first", "third", "fourth"}), keys(object_));
}

// A name with one blank inside is accepted; a name with two adjacent blanks raises
// illegalAttributeName (24); so do names with an equal sign, a closing brace or a tab.
TEST_F(QelAttributeBasedTest, LegalAndIllegalNames) {
    struct Row {
        char const * name;
        bool legal;
    };
    Row const rows[] = {
        {"one blank", true},
        {"two  blanks", false},
        {"a=b", false},
        {"=", false},
        {"a}", false},
        {"}a", false},
        {"a\tb", false},
        {"\t", false},
        {"a b c d", true},
        {" a ", true},
        {" ", true},
        {"  ", false},
        {"a b   c", false},
        {"", true},
        {"a{b:c", true},
        {"Gr\xC3\xB6\xC3\x9F"
         "e",
         true},
        {"a\nb", true},
        {"connect x", true},
        {"\"a\"", true},
        {"trailing  ", false},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(std::string("name <") + row.name + ">");
        Listener object;
        IntPtr const attribute = number(row.name);
        EXPECT_EQ(row.legal, QelAttributeBased::isLegalName(row.name));
        if (row.legal) {
            EXPECT_TRUE(object.addAttribute(attribute));
            EXPECT_EQ(attribute.get(), object.getAttribute(row.name).get());
            continue;
        }
        std::string const refusal = std::string("Illegal attribute name ") + row.name;
        expectRaises(QelErrorCode::illegalAttributeName, refusal,
                     [&] { object.addAttribute(attribute); });
        expectRaises(QelErrorCode::illegalAttributeName, refusal,
                     [&] { object.addAttribute(attribute, "legal"); });
        EXPECT_EQ(0, object.getNumAttributes());
        EXPECT_FALSE(object.getAttribute("legal"));
        EXPECT_EQ(1, attribute->refCount());
    }
}

TEST_F(QelAttributeBasedTest, ANullCharacterIsPartOfAName) {
    EXPECT_FALSE(QelAttributeBased::isLegalName(std::string("a\0=", 3)));
    std::string const name("first\0b", 7);
    IntPtr const attribute = number(name);
    EXPECT_TRUE(object_.addAttribute(attribute));
    EXPECT_EQ(attribute.get(), object_.getAttribute(name).get());
    EXPECT_EQ(first_.get(), object_.getAttribute("first").get());
}

TEST_F(QelAttributeBasedTest, TheAttributesOwnNameIsTestedAndNotTheKey) {
    EXPECT_TRUE(object_.addAttribute(number("legal"), "a=b"));
    EXPECT_TRUE(object_.getAttribute("a=b"));
}

TEST_F(QelAttributeBasedTest, RefusalsNameTheirSource) {
    auto const error = errorOf([&] { object_.addAttribute(number("=")); });
    ASSERT_TRUE(error);
    EXPECT_TRUE(std::string(error->getFile()).ends_with("QelAttributeBased.cpp"));
}

// ---- Looking up

// getAttribute with an index equal to the count yields a null pointer and no exception.
TEST_F(QelAttributeBasedTest, AnIndexOutOfRangeIsNull) {
    EXPECT_FALSE(object_.getAttribute(object_.getNumAttributes()));
    EXPECT_FALSE(object_.getAttribute(-1));
    EXPECT_FALSE(object_.getAttribute(INT_MAX));
    EXPECT_FALSE(object_.getAttribute(INT_MIN));
}

TEST_F(QelAttributeBasedTest, AnUnknownNameIsNull) {
    for (char const * name : {"", "firs", "firstly", "First", "fourth"})
        EXPECT_FALSE(object_.getAttribute(name)) << name;
}

TEST_F(QelAttributeBasedTest, FindsTheKeyOfAnAttributeAndOfAnIndex) {
    EXPECT_EQ("first", object_.getAttributeName(first_));
    EXPECT_EQ("third", object_.getAttributeName(third_));
    EXPECT_EQ("second", object_.getAttributeName(0));
    EXPECT_EQ("third", object_.getAttributeName(2));
}

TEST_F(QelAttributeBasedTest, RefusesToNameWhatIsNotThere) {
    std::string const refusal = "Could not find attribute";
    IntPtr const other = number("first");
    expectRaises(QelErrorCode::misuse, refusal, [&] { object_.getAttributeName(other); });
    expectRaises(QelErrorCode::misuse, refusal, [&] { object_.getAttributeName(nullptr); });
    expectRaises(QelErrorCode::misuse, refusal, [&] { object_.getAttributeName(3); });
    expectRaises(QelErrorCode::misuse, refusal, [&] { object_.getAttributeName(-1); });
    expectRaises(QelErrorCode::misuse, refusal, [] { QelAttributeBased().getAttributeName(0); });
}

// ---- Removing

struct Removal {
    char const * name;
    std::function<void(QelAttributeBased & object, std::string const & key)> remove;
};

std::vector<Removal> removals() {
    return {
        {"name", [](auto & object, auto & key) { object.removeAttribute(key); }},
        {"attribute",
         [](auto & object, auto & key) { object.removeAttribute(object.getAttribute(key)); }},
        {"index",
         [](auto & object, auto & key) {
             for (int i = object.getNumAttributes() - 1; i >= 0; --i)
                 if (object.getAttributeName(i) == key) object.removeAttribute(i);
         }},
    };
}

TEST_F(QelAttributeBasedTest, RemovesByEveryWay) {
    struct Row {
        char const * key;
        Names left;
    };
    Row const rows[] = {
        {"second", {"first", "third"}},
        {"first", {"second", "third"}},
        {"third", {"second", "first"}},
    };
    for (Removal const & removal : removals()) {
        for (Row const & row : rows) {
            SCOPED_TRACE(std::string(row.key) + " by " + removal.name);
            Listener object;
            for (char const * name : {"second", "first", "third"})
                object.addAndListen(name);
            AttributePtr const removed = object.getAttribute(row.key);
            removal.remove(object, row.key);
            EXPECT_EQ(row.left, keys(object));
            EXPECT_FALSE(object.getAttribute(row.key));
            EXPECT_EQ(1, removed->refCount());
            EXPECT_EQ(0, removed->numCallbacks());
            expectConsistent(object);
            EXPECT_TRUE(object.addAttribute(removed));
            EXPECT_EQ(row.key, keys(object).back());
            // The indices behind the removed one are right, too.
            for (std::string const & name : row.left)
                object.removeAttribute(name);
            EXPECT_EQ(Names{row.key}, keys(object));
        }
    }
}

TEST_F(QelAttributeBasedTest, ALockedAttributeIsNotRemoved) {
    object_.listenTo(*first_);
    first_->lock();
    for (Removal const & removal : removals()) {
        SCOPED_TRACE(removal.name);
        removal.remove(object_, "first");
        expectUnchanged();
        EXPECT_EQ(1, first_->numCallbacks());
    }
    first_->unlock();
    object_.removeAttribute("first");
    EXPECT_EQ(2, object_.getNumAttributes());
}

TEST_F(QelAttributeBasedTest, NothingIsRemovedForWhatIsNotThere) {
    object_.removeAttribute("fourth");
    object_.removeAttribute("");
    object_.removeAttribute(3);
    object_.removeAttribute(-1);
    object_.removeAttribute(number("first"));
    object_.removeAttribute(nullptr);
    expectUnchanged();
}

// The first of its keys in alphabetical order.
TEST_F(QelAttributeBasedTest, RemovingAnAttributeUnderSeveralKeysRemovesOne) {
    object_.addAttribute(first_, "a");
    object_.listenTo(*first_);
    object_.removeAttribute(first_);
    EXPECT_EQ((Names{"second", "first", "third"}), keys(object_));
    EXPECT_EQ(1, first_->numCallbacks());
    object_.removeAttribute(first_);
    EXPECT_EQ((Names{"second", "third"}), keys(object_));
    EXPECT_EQ(0, first_->numCallbacks());
}

TEST_F(QelAttributeBasedTest, TheNameToRemoveMayBelongToWhatIsRemoved) {
    Listener object;
    object.addAttribute(number("size"));
    object.removeAttribute(object.getAttribute(0)->name());
    EXPECT_EQ(0, object.getNumAttributes());
}

// ---- Renaming

struct Renaming {
    char const * name;
    std::function<bool(QelAttributeBased & object, std::string const & key,
                       std::string const & newName)>
        rename;
};

std::vector<Renaming> renamings() {
    return {
        {"name", [](auto & object, auto & key,
                    auto & newName) { return object.renameAttribute(key, newName); }},
        {"attribute",
         [](auto & object, auto & key, auto & newName) {
             return object.renameAttribute(object.getAttribute(key), newName);
         }},
    };
}

TEST_F(QelAttributeBasedTest, RenamingKeepsIndexOrderAndOwnName) {
    for (Renaming const & renaming : renamings()) {
        SCOPED_TRACE(renaming.name);
        // To the front and to the back of the alphabet, and back.
        for (char const * newName : {"a", "z z", "fir", "first "}) {
            EXPECT_TRUE(renaming.rename(object_, "first", newName));
            EXPECT_EQ((Names{"second", newName, "third"}), keys(object_));
            EXPECT_EQ(first_.get(), object_.getAttribute(newName).get());
            EXPECT_EQ(first_.get(), object_.getAttribute(1).get());
            EXPECT_EQ(newName, object_.getAttributeName(first_));
            EXPECT_FALSE(object_.getAttribute("first"));
            EXPECT_EQ("first", first_->name());
            EXPECT_TRUE(renaming.rename(object_, newName, "first"));
            expectUnchanged();
        }
    }
}

TEST_F(QelAttributeBasedTest, RenamingRefusesByFalse) {
    struct Row {
        char const * why;
        char const * key;
        char const * newName;
    };
    Row const rows[] = {
        {"in use", "first", "second"}, {"the old one", "first", "first"},
        {"=", "first", "a=b"},         {"}", "first", "a}"},
        {"a tab", "first", "a\tb"},    {"two blanks", "first", "a  b"},
        {"missing", "fourth", "new"},  {"missing and in use", "fourth", "second"},
    };
    for (Renaming const & renaming : renamings()) {
        for (Row const & row : rows) {
            SCOPED_TRACE(std::string(row.why) + " by " + renaming.name);
            EXPECT_FALSE(renaming.rename(object_, row.key, row.newName));
            expectUnchanged();
            EXPECT_FALSE(object_.getAttribute("new"));
        }
    }
    EXPECT_FALSE(object_.renameAttribute(nullptr, "new"));
    EXPECT_FALSE(object_.renameAttribute(number("first"), "new"));
}

TEST_F(QelAttributeBasedTest, RenamingAsksNoLockTakesNoStampAndKeepsCallbacks) {
    object_.listenTo(*first_);
    first_->lock();
    std::uint32_t const before = first_->timestamp();
    EXPECT_TRUE(object_.renameAttribute("first", "new"));
    EXPECT_EQ(before, first_->timestamp());
    EXPECT_TRUE(first_->locked());
    EXPECT_EQ(1, first_->numCallbacks());
    EXPECT_TRUE(object_.heard().empty());
}

// ---- One attribute under two keys

TEST_F(QelAttributeBasedTest, OneAttributeUnderTwoKeys) {
    EXPECT_TRUE(object_.addAttribute(first_, "alias"));
    EXPECT_EQ((Names{"second", "first", "third", "alias"}), keys(object_));
    EXPECT_EQ("alias", object_.getAttributeName(first_));
    EXPECT_EQ("first", object_.getAttributeName(1));
    EXPECT_EQ("alias", object_.getAttributeName(3));
    EXPECT_TRUE(object_.renameAttribute(first_, "z"));
    EXPECT_EQ((Names{"second", "first", "third", "z"}), keys(object_));
    EXPECT_EQ("first", object_.getAttributeName(first_));
    object_.listenTo(*first_);
    object_.removeAttribute("z");
    EXPECT_EQ(1, first_->numCallbacks());
    first_->setValue(1);
    EXPECT_EQ(Names{"first"}, object_.heard());
    expectUnchanged();
}

// ---- Stamps

TEST_F(QelAttributeBasedTest, TheLatestStampIsTheLargest) {
    first_->setValue(0);
    third_->setValue(0);
    EXPECT_EQ(third_->timestamp(), object_.getLatestTimestamp({"first", "third", "second"}));
    EXPECT_EQ(third_->timestamp(), object_.getLatestTimestamp({"third", "second", "first"}));
    EXPECT_EQ(first_->timestamp(), object_.getLatestTimestamp({"first", "second"}));
    EXPECT_EQ(second_->timestamp(), object_.getLatestTimestamp({"second", "second"}));
    object_.renameAttribute("second", "new");
    EXPECT_EQ(second_->timestamp(), object_.getLatestTimestamp({"new"}));
}

TEST_F(QelAttributeBasedTest, TheLatestStampRefusesNoNamesAndUnknownOnes) {
    expectRaises(QelErrorCode::noNamesGiven, "getLatestTimestamp",
                 [&] { object_.getLatestTimestamp({}); });
    expectRaises(QelErrorCode::noSuchAttribute, "fourth", [&] {
        object_.getLatestTimestamp({"first", "fourth", "fifth"});
    });
    expectRaises(QelErrorCode::noSuchAttribute, "firs",
                 [&] { object_.getLatestTimestamp({"firs"}); });
}

// ---- Collections that do not agree

TEST_F(QelAttributeBasedTest, EveryOperationThatNeedsBothCollectionsRefusesWhenTheyDiffer) {
    struct Row {
        char const * name;
        std::function<void()> act;
    };
    Listener whole;
    whole.add("first", 5);
    Row const rows[] = {
        {"add", [&] { object_.addAttribute(number("new")); }},
        {"add under a name", [&] { object_.addAttribute(number("new"), "key"); }},
        {"remove by name", [&] { object_.removeAttribute("first"); }},
        {"remove by index", [&] { object_.removeAttribute(1); }},
        {"remove by attribute", [&] { object_.removeAttribute(first_); }},
        {"rename by name", [&] { object_.renameAttribute("first", "new"); }},
        {"rename by attribute", [&] { object_.renameAttribute(first_, "new"); }},
        {"copy from", [&] { QelAttributeBased const copy(object_); }},
        {"copy attributes from", [&] { whole.copyAttributes(object_); }},
        {"copy attributes to", [&] { object_.copyAttributes(whole); }},
    };
    using Breaker = QelAttributeBasedBreaker;
    for (Breaker::Side const side : {Breaker::ListIsLonger, Breaker::MapIsLonger}) {
        for (Row const & row : rows) {
            SCOPED_TRACE(std::string(row.name) + ", side " + std::to_string(side));
            Breaker const broken(object_, side);
            expectRaises(QelErrorCode::attributesInconsistent,
                         "Attribute collections are inconsistent", row.act);
        }
        expectUnchanged();
        EXPECT_EQ(1, first_->getValue());
        EXPECT_EQ(5, IntAttribute::of(whole.getAttribute("first"))->getValue());
    }
}

}  // namespace
