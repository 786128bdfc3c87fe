#pragma once

#include "QelSimpleDataOrg.h"

// The organisation of a device-independent bitmap: 1 or 3 bands of UChar, lines padded to 4
// bytes, three bands in the file order blue, green, red but read as red, green, blue, optionally
// bottom line first and after the bitmap's header.
class QEL_API QelDIBDataOrg : public QelSimpleDataOrg {
  public:
    // The published 40-byte header, in its field order and in the byte order of the host.
    struct BitmapInfoHeader {
        std::uint32_t biSize;
        std::int32_t biWidth;
        std::int32_t biHeight;
        std::uint16_t biPlanes;
        std::uint16_t biBitCount;
        std::uint32_t biCompression;
        std::uint32_t biSizeImage;
        std::int32_t biXPelsPerMeter;
        std::int32_t biYPelsPerMeter;
        std::uint32_t biClrUsed;
        std::uint32_t biClrImportant;
    };

    struct PaletteEntry {
        std::uint8_t blue;
        std::uint8_t green;
        std::uint8_t red;
        std::uint8_t reserved;
    };

    struct BitmapInfo {
        BitmapInfoHeader header;
        PaletteEntry palette[256];
    };

    // width and height in pixels. Raises invalidValue (13) unless there are 1 or 3 bands, and when
    // only one of width and height is 0. With `hasHeader` the pixels start after the header (and,
    // with one band, the palette of 256 entries).
    QelDIBDataOrg(std::int32_t width, std::int32_t height, int bands, bool bottomUp,
                  bool hasHeader);
    ~QelDIBDataOrg() override;

    MoxSmartPtr<QelDataOrg> clone() const override;
    // As QelSimpleDataOrg, with "DIBDataOrg[".
    void print(std::ostream & out) const override;

    // Both keep the flags.
    MoxSmartPtr<QelSimpleDataOrg> makeWithBands(int bands) const override;
    MoxSmartPtr<QelSimpleDataOrg> makeWithSize(std::int32_t width,
                                               std::int32_t height) const override;

    bool bottomUp() const { return bottomUp_; }
    bool hasHeader() const { return hasHeader_; }

    // Bytes of a line with its padding; negated on request; 0 for width 0.
    std::int32_t rowBytes(bool negate = false) const;

    // Fills the header: size 40, the tile size (height negative unless bottom-up), 1 plane, 8 or
    // 24 bits, zeros.
    void makeBitmapInfoHeader(BitmapInfoHeader * header) const;
    // Fills the header and, for one band, a palette of 256 greys.
    void makeBitmapInfo(BitmapInfo * info) const;

  protected:
    QelDIBDataOrg(QelDIBDataOrg const & other);

  private:
    struct Plan;
    static Plan planFor(std::int32_t width, std::int32_t height, int bands, bool bottomUp,
                        bool hasHeader);
    QelDIBDataOrg(std::int32_t width, std::int32_t height, int bands, bool bottomUp, bool hasHeader,
                  Plan const & plan);
    MoxSmartPtr<QelSimpleDataOrg> bitmapLike(std::int32_t width, std::int32_t height,
                                             int bands) const;

    bool bottomUp_;
    bool hasHeader_;
};
