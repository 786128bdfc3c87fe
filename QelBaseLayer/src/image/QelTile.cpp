#include "QelTile.h"

#include <algorithm>
#include <ostream>
#include <string>

#include "Qel2DImage.h"
#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelOutput.h"
#include "QelSystemConfig.h"
#include "QelTextStream.h"
#include "ZanBorrow.h"

namespace {

// How many of `length` positions from `start` on lie below 0.
std::int32_t countBelowZero(std::int32_t start, std::int32_t length) {
    std::int64_t const below =
        std::clamp(-std::int64_t{start}, std::int64_t{0}, std::int64_t{std::max(length, 0)});
    return static_cast<std::int32_t>(below);
}

}  // namespace

QelTile::QelTile(QelDataOrg * org, QelTileId const & id) : QelTile(org, id, nullptr, true) {}

QelTile::QelTile(QelDataOrg * org, QelTileId const & id, void * memory, bool ownsData)
    : QelRectBuffer(org, 0, 0, -1, -1, memory, ownsData, false), id_(id) {
    QelRect const whole = org->tileRect(id.tileX, id.tileY);
    std::int32_t const cutX = countBelowZero(whole.x, whole.width);
    std::int32_t const cutY = countBelowZero(whole.y, whole.height);
    QelRect const part(whole.x + cutX, whole.y + cutY, whole.width - cutX, whole.height - cutY);
    setRect(part);
    // No pixel of a tile outside the image has an address, so the offset stays inside the buffer.
    if (!part.isEmpty()) setDataOffset(dataOffset() + org->offset(cutX, cutY));
}

QelTile::QelTile(QelTile const & other)
    : ZanRefCount(other), QelRectBuffer(other), id_(other.id_) {}

QelTile::~QelTile() {
    QelEmbeddedRenderedItemContainer * const container = leaveContainer();
    if (QelSystemConfig::traces(QelSystemConfig::traceActivity)) traceDestruction(container);
    tellDiscarded(container, this);
}

void QelTile::compute() {
    auto * const image = dynamic_cast<Qel2DImage *>(container());
    if (image == nullptr) {
        qelRaise(QelErrorCode::nullPointer,
                 "An QelTile is not owned by an Qel2DImage in QelTile::computeTile");
    }
    ZanBorrow<QelTile> const keep(this);  // what getTile() returns may be the only owner
    image->getTile(id_.tileX, id_.tileY);
}

void QelTile::setComplete(bool value) {
    QelRectBuffer::setComplete(value);
    if (!value) releaseData();
}

void QelTile::print(std::ostream & out) const {
    out << "Tile" << id_;
    QelRectBuffer::print(out);
}

std::string QelTile::destructionLine(QelEmbeddedRenderedItemContainer const * container) const {
    QelTextStream line;
    line << "QelTile destructing " << static_cast<void const *>(this) << ' ';
    print(line);
    void const * const data = dataBuffer() ? dataBuffer()->data() : nullptr;
    line << ' ' << data << ' ' << static_cast<void const *>(container) << ' '
         << (container != nullptr ? QelCoreMisc::classNameOf(*container) : "NULL") << '\n';
    return line.str();
}

void QelTile::traceDestruction(QelEmbeddedRenderedItemContainer const * container) const noexcept {
    // A destructor must not raise, and a trace line is not worth ending the program for.
    try {
        try {
            QelOutput::write(destructionLine(container));
        } catch (ZanError const & error) {
            QelOutput::write("QelTile destructing: " + std::string(error.getMsg()) + '\n');
        }
    } catch (...) {
    }
}
