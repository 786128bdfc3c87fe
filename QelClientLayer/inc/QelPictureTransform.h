#pragma once

#include <cstdint>

#include "QelPictureReaderOp.h"
#include "QelSourceTransform.h"

// A picture file: QelPictureReaderOp. The header is read when the transform is set up; a file that
// cannot be read makes the status bad, with the reader's code and text.
//
// | attribute | type | default | range |
// | "fileName" | std::string | "" | |
// | "maxBytes" | double | 4 GiB | 1 to 2^53, of all decoded pixels |
// | "maxWidth" | int | 1,000,000 | 1 to 2^31 - 1, in pixels |
// | "maxHeight" | int | 1,000,000 | the same |
//
// The file stays open, and the pixels that are decoded are kept, until one of these is set, to the
// same value too: the next set-up then opens the file of that name anew. Copies share them.
class QEL_API QelPictureTransform : public QelSourceTransform {
  public:
    QelPictureTransform();
    QelPictureTransform(QelPictureTransform const & other);
    ~QelPictureTransform() override;

    // "picture"
    static QelTransformDescription const & catalogEntry();

    MoxSmartPtr<QelTransform> clone() const override;

    // The open file: its format, and whether it says its resolution. Null unless the status is
    // good.
    MoxSmartPtr<QelPictureReaderOp> reader();

  protected:
    Source openSource() override;

  private:
    std::uint32_t latestChange() const;
    bool isOpen() const { return reader_ && openedAt_ == latestChange(); }

    MoxSmartPtr<QelPictureReaderOp> reader_;
    // The latest change when the file was opened.
    std::uint32_t openedAt_ = 0;
};
