#include "QelStreamData.h"

#include <ostream>
#include <utility>

#include "Qel2DImage.h"
#include "QelCoreMisc.h"
#include "QelDependencyPass.h"
#include "QelError.h"
#include "QelGraphWork.h"
#include "QelHexText.h"
#include "QelItemOwnerOf.h"
#include "QelOutputConnectionPoint.h"
#include "QelTransform.h"

QelStreamData::QelStreamData(QelOutputConnectionPoint * owner) : owner_(owner) {
    if (owner == nullptr) {
        qelRaise(QelErrorCode::nullPointer, "NULL ptr passed to QelStreamData constructor");
    }
}

QelStreamData::~QelStreamData() = default;

QelTransform * QelStreamData::transform() const {
    return owner_->owner();
}

std::string QelStreamData::describeOwner() const {
    std::string const transform =
        this->transform() != nullptr ? this->transform()->describe() : std::string("NULL");
    return owner_->name() + ':' + transform;
}

void QelStreamData::update() {
    if (transform() != nullptr) transform()->isStatusOk();
}

bool QelStreamData::updatedStatus() {
    if (outOfDate_) update();
    return statusOk_;
}

ZanError QelStreamData::getStatus() {
    if (updatedStatus()) {
        return QelError(QelErrorCode::streamDataGood, "Stream Data Status OK", __FILE__, __LINE__);
    }
    // Out of date still: the transform is being set up, and the error is of an earlier time.
    if (statusError_ && !outOfDate_) return *statusError_;
    if (transform() != nullptr) return transform()->getStatusMessage();
    return QelError(QelErrorCode::noStatusMessage, "There is no status message in transform NULL",
                    __FILE__, __LINE__);
}

void QelStreamData::setStatus(bool ok) {
    statusOk_ = ok;
    outOfDate_ = false;
    statusError_ = nullptr;
}

void QelStreamData::setStatusError(ZanError const & error) {
    // The copy first: `error` may be the one that is replaced.
    statusError_ = std::make_unique<ZanError>(error);
    statusOk_ = false;
    outOfDate_ = false;
}

void QelStreamData::setOutOfDate(bool flag) {
    if (flag) {
        outOfDate_ = true;
        statusOk_ = false;
        // What was wrong before says nothing of what is now, in a circle that asks meanwhile.
        statusError_ = nullptr;
    }
    resetContainer();
}

void QelStreamData::setCachingClient(bool on) {
    if (on) {
        ++cachingCount_;
        if (caching_) return;
    } else {
        if (cachingCount_ == 0 || --cachingCount_ > 0) return;
    }
    caching_ = on;
    MoxSmartPtr<QelRenderedItemContainer> const container = getRenderedItemContainer();
    if (container) container->setCacheTiles(on);
}

void QelStreamData::print(std::ostream & out, std::string const & indent) const {
    out << indent << "addr:        0x" << qelHexText(this) << '\n'
        << indent << "owner:       0x" << qelHexText(owner_) << '\n'
        << indent << "type:        " << QelCoreMisc::classNameOf(*this) << '\n'
        << indent << "status:      " << statusOk_ << '\n'
        << indent << "out-of-date: " << outOfDate_ << '\n'
        << indent << "caching:     " << caching_ << '\n';
}

void QelStreamData::requireOwnItem(QelRenderedItem const & item) const {
    if (item.container() == nullptr) return;
    QelItemOwner const * const itemOwner = qelItemOwnerOf(item);
    if (itemOwner == nullptr) {
        qelRaise(QelErrorCode::misuse,
                 "Internal Logic Error: Rendered item does not belong to any output connection "
                 "point");
    }
    if (itemOwner != static_cast<QelItemOwner const *>(owner_)) {
        qelRaise(QelErrorCode::misuse,
                 "Internal Logic Error: Rendered item does not belong to "
                 "Output Connection Point: " +
                     describeOwner());
    }
}

namespace {

// An item to be entered into a render.
struct Entering {
    MoxSmartPtr<QelTransform> transform;
    MoxSmartPtr<QelRenderedItem> item;

    void run() const {
        if (item->isState(QelRenderedItem::pending | QelRenderedItem::complete)) return;
        MoxSmartPtr<QelSmartRenderedItemVector> const needed = new QelSmartRenderedItemVector();
        if (transform) transform->generateDependencies(item.get(), needed.get());
        QelDependencyPass::ofThisThread()->enter(*item, *needed);
    }
};

}  // namespace

void QelStreamData::generateDependencies(QelRenderedItem * item) {
    if (item == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    if (!updatedStatus()) {
        qelRaise(
            QelErrorCode::misuse,
            "Internal Logic Error: Output Connection Point has bad status: " + describeOwner());
    }
    if (item->isState(QelRenderedItem::pending | QelRenderedItem::complete)) return;
    requireOwnItem(*item);
    QelDependencyPass pass;
    QelGraphWork<Entering>::run({transform(), item});
    pass.succeed();
}

void QelStreamData::generateDependencies(QelRenderedItemContainer * container,
                                         QelDataDesc * request) {
    if (container == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    if (!updatedStatus()) return;
    QelDependencyPass pass;
    MoxSmartPtr<QelRenderedItemContainer> const items = getRenderedItemContainer();
    if (!items) return;
    for (auto i = items->makeIterator(request); !i.done(); i.next()) {
        MoxSmartPtr<QelRenderedItem> const item = i.get();
        container->add(item);
        generateDependencies(item.get());
    }
    pass.succeed();
}

void QelStreamData::generateDependenciesHeld(MoxSmartPtr<QelRenderedItemContainer> container,
                                             MoxSmartPtr<QelDataDesc> request) {
    generateDependencies(container.get(), request.get());
}

void QelStreamData::generateDependencies(QelRenderedItemContainer * container) {
    if (container == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    if (updatedStatus()) generateAll(*container);
}

void QelStreamData::generateAll(QelRenderedItemContainer & container) {
    generateDependencies(&container, nullptr);
}
