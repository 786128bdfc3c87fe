#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "QelRect.h"

// The drawing of QelTestCardOp: where things are in a picture of a given size.
class QelTestCard {
  public:
    // Pixels, from 1 to 1000000 each.
    QelTestCard(std::int32_t width, std::int32_t height);

    std::int32_t width() const { return width_; }
    std::int32_t height() const { return height_; }

    // Draws the pixels of `rect`, which must lie in the picture, as red, green and blue bytes;
    // `lineStride` bytes from one row to the next.
    void draw(QelRect const & rect, std::uint8_t * to, std::ptrdiff_t lineStride) const;

  private:
    struct Colour {
        std::uint8_t red, green, blue;
    };
    // Part of a row of the picture, and where it goes.
    struct Span {
        std::int32_t y;
        std::int32_t first;
        std::int32_t last;  // inclusive
        std::uint8_t * to;  // the pixel `first`

        void set(std::int32_t x, Colour colour) const;
        void setGrey(std::int32_t x, std::int32_t grey) const;
    };
    struct Patch {
        QelRect rect;
        Colour colour;
    };
    struct Text {
        QelRect rect;
        std::string_view text;
        std::int32_t scale;  // pixels of one dot of the letters
    };
    struct Grating {
        QelRect rect;
        std::int32_t period;  // pixels of a line
        bool upright;
    };

    QelRect part(int x, int y, int right, int bottom) const;
    void placeText(std::string_view text, QelRect const & where);
    void placeWedge();
    void placePatches();
    void placeGratings();
    Span cut(Span const & row, QelRect const & rect) const;

    void drawRow(Span const & row) const;
    void drawBackground(Span const & row) const;
    void drawRings(Span const & row) const;
    void drawRamp(Span const & row) const;
    void drawFrame(Span const & row) const;
    void drawBlocks(Span const & span) const;
    static void drawText(Text const & text, Span const & span);
    static void drawGrating(Grating const & grating, Span const & span);

    std::int32_t width_;
    std::int32_t height_;
    std::int32_t frame_;    // pixels of the frame
    std::int32_t centreX_;  // of the rings
    std::int32_t centreY_;
    std::int32_t radius_;
    QelRect ramp_;
    std::vector<Patch> patches_;
    std::vector<Text> texts_;
    std::vector<Grating> gratings_;
    std::array<std::uint8_t, 1024> wave_;  // a cosine, from 255 through 0 back to 255
};
