#pragma once

#include <iosfwd>
#include <memory>
#include <utility>

#include "MoxSmartPtr.h"
#include "QelEmbeddedRenderedItemContainer.h"
#include "QelItemOwner.h"
#include "QelRenderedItem.h"

class QelDataDesc;

// A collection of rendered items that a render can walk.
class QEL_API QelRenderedItemContainer : public QelEmbeddedRenderedItemContainer {
  public:
    // Walks a container: for (Iterator i = c.makeIterator(); !i.done(); i.next()) use(i.get());
    // Movable. The container must outlive it and must not change meanwhile.
    class QEL_API Iterator {
      public:
        // What a container implements.
        class QEL_API SubIterator {
          public:
            virtual ~SubIterator();
            virtual bool done() const = 0;
            virtual void next() = 0;
            virtual MoxSmartPtr<QelRenderedItem> get() const = 0;
        };

        // Over nothing: done at once.
        Iterator() = default;
        explicit Iterator(std::unique_ptr<SubIterator> sub) : sub_(std::move(sub)) {}

        bool done() const { return !sub_ || sub_->done(); }
        // Requires: !done().
        void next() { sub_->next(); }
        MoxSmartPtr<QelRenderedItem> get() const { return sub_->get(); }

      private:
        std::unique_ptr<SubIterator> sub_;
    };

    // Takes no reference on `owner`, which may be null.
    explicit QelRenderedItemContainer(QelItemOwner * owner = nullptr) : owner_(owner) {}
    ~QelRenderedItemContainer() override;
    using QelEmbeddedRenderedItemContainer::operator=;

    virtual QelItemOwner * getOwner() const;
    // The owner's transform label and connection point name, separated by a blank; nothing
    // without an owner.
    virtual void print(std::ostream & out) const;
    // Does nothing here.
    virtual void add(QelRenderedItem * item);
    virtual void remove(QelRenderedItem * item);

    virtual void setCacheTiles(bool cache) = 0;
    virtual void clear() = 0;
    // Over the items that `desc` asks for; null asks for all.
    virtual Iterator makeIterator(QelDataDesc * desc = nullptr) = 0;

  private:
    QelItemOwner * owner_;
};
