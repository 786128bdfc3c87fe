#include "QelTestCard.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

// Letters of 5 by 7 dots; a row is the low five bits, the leftmost dot first.
constexpr std::int32_t glyphWidth = 5;
constexpr std::int32_t glyphHeight = 7;
constexpr std::int32_t glyphPitch = glyphWidth + 1;

struct Glyph {
    char letter;
    std::uint8_t rows[glyphHeight];
};

constexpr Glyph glyphs[] = {
    {'A', {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'D', {0x1E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x1E}},
    {'E', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}},
    {'I', {0x0E, 0x04, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'L', {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F}},
    {'M', {0x11, 0x1B, 0x15, 0x15, 0x11, 0x11, 0x11}},
    {'N', {0x11, 0x19, 0x15, 0x13, 0x11, 0x11, 0x11}},
    {'O', {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'P', {0x1E, 0x11, 0x11, 0x1E, 0x10, 0x10, 0x10}},
    {'Q', {0x0E, 0x11, 0x11, 0x11, 0x15, 0x12, 0x0D}},
    {'S', {0x0F, 0x10, 0x10, 0x0E, 0x01, 0x01, 0x1E}},
    {'X', {0x11, 0x11, 0x0A, 0x04, 0x0A, 0x11, 0x11}},
};

bool hasDot(char letter, std::int32_t x, std::int32_t y) {
    if (x >= glyphWidth) return false;
    for (Glyph const & glyph : glyphs) {
        if (glyph.letter == letter) return ((glyph.rows[y] >> (glyphWidth - 1 - x)) & 1) != 0;
    }
    return false;
}

// The finest rings, at the rim, are one pixel wide: the highest frequency that pixels can show.
// Blue light makes narrower rings than red, by these parts of 64.
constexpr std::int64_t redRings = 64;
constexpr std::int64_t greenRings = 72;
constexpr std::int64_t blueRings = 82;

}  // namespace

QelTestCard::QelTestCard(std::int32_t width, std::int32_t height)
    : width_(width),
      height_(height),
      frame_(std::max(1, std::min(width, height) / 48)),
      ramp_(part(40, 915, 960, 955)) {
    QelRect const rings = part(40, 50, 640, 800);
    centreX_ = rings.x + rings.width / 2;
    centreY_ = rings.y + rings.height / 2;
    radius_ = std::max(1, std::min(rings.width, rings.height) / 2);
    for (std::size_t i = 0; i < wave_.size(); ++i) {
        double const angle = 2 * std::numbers::pi * static_cast<double>(i) / 1024;
        wave_[i] = static_cast<std::uint8_t>(std::lround(127.5 + 127.5 * std::cos(angle)));
    }
    placeText("QEL", part(680, 60, 960, 250));
    placeText("PIXELS ON DEMAND", part(680, 270, 960, 310));
    placePatches();
    placeGratings();
    placeWedge();
}

// A rectangle in thousandths of the picture.
QelRect QelTestCard::part(int x, int y, int right, int bottom) const {
    auto const of = [](int thousandths, std::int32_t whole) {
        return static_cast<std::int32_t>(std::int64_t{whole} * thousandths / 1000);
    };
    return QelRect::fromCorners(of(x, width_), of(y, height_), of(right, width_) - 1,
                                of(bottom, height_) - 1);
}

// As large as possible.
void QelTestCard::placeText(std::string_view text, QelRect const & where) {
    std::int32_t const dots = static_cast<std::int32_t>(text.size()) * glyphPitch - 1;
    std::int32_t const scale = std::min(where.width / dots, where.height / glyphHeight);
    if (scale < 1) return;
    texts_.push_back({QelRect(where.x, where.y, dots * scale, glyphHeight * scale), text, scale});
}

void QelTestCard::placePatches() {
    constexpr Colour colours[] = {{222, 60, 54},  {244, 196, 48}, {64, 160, 92},
                                  {42, 166, 190}, {58, 92, 190},  {178, 70, 160}};
    constexpr int step = 280 / 6;
    for (int i = 0; i < 6; ++i) {
        int const x = 680 + i * step;
        patches_.push_back({part(x, 345, x + step, 475), colours[i]});
    }
}

// Lines of one to four pixels, upright and level.
void QelTestCard::placeGratings() {
    for (int i = 0; i < 4; ++i) {
        int const x = 680 + i * 70;
        gratings_.push_back({part(x, 510, x + 60, 640), i + 1, true});
        gratings_.push_back({part(x, 665, x + 60, 795), i + 1, false});
    }
}

void QelTestCard::placeWedge() {
    constexpr int steps = 16;
    for (int i = 0; i < steps; ++i) {
        auto const grey = static_cast<std::uint8_t>(i * 255 / (steps - 1));
        QelRect const whole = part(40, 835, 960, 905);
        std::int32_t const left =
            whole.x + static_cast<std::int32_t>(std::int64_t{whole.width} * i / steps);
        std::int32_t const next =
            whole.x + static_cast<std::int32_t>(std::int64_t{whole.width} * (i + 1) / steps);
        patches_.push_back({QelRect(left, whole.y, next - left, whole.height), {grey, grey, grey}});
    }
}

void QelTestCard::Span::set(std::int32_t x, Colour colour) const {
    std::uint8_t * const pixel = to + std::ptrdiff_t{3} * (x - first);
    pixel[0] = colour.red;
    pixel[1] = colour.green;
    pixel[2] = colour.blue;
}

void QelTestCard::Span::setGrey(std::int32_t x, std::int32_t grey) const {
    auto const value = static_cast<std::uint8_t>(grey);
    set(x, {value, value, value});
}

// The part of a row that lies in `rect`; first is greater than last when there is none.
QelTestCard::Span QelTestCard::cut(Span const & row, QelRect const & rect) const {
    Span span = row;
    span.first = std::max(row.first, rect.x);
    span.last = std::min(row.last, static_cast<std::int32_t>(rect.right()));
    if (row.y < rect.y || row.y > rect.bottom()) span.last = span.first - 1;
    span.to = row.to + std::ptrdiff_t{3} * (span.first - row.first);
    return span;
}

void QelTestCard::draw(QelRect const & rect, std::uint8_t * to, std::ptrdiff_t lineStride) const {
    for (std::int32_t y = 0; y < rect.height; ++y) {
        drawRow({rect.y + y, rect.x, static_cast<std::int32_t>(rect.right()), to + y * lineStride});
    }
}

void QelTestCard::drawRow(Span const & row) const {
    drawBackground(row);
    drawRings(row);
    for (Patch const & patch : patches_) {
        Span const span = cut(row, patch.rect);
        for (std::int32_t x = span.first; x <= span.last; ++x)
            span.set(x, patch.colour);
    }
    for (Grating const & grating : gratings_)
        drawGrating(grating, cut(row, grating.rect));
    for (Text const & text : texts_)
        drawText(text, cut(row, text.rect));
    drawRamp(cut(row, ramp_));
    drawFrame(row);
}

// Slate, a little lighter towards the top.
void QelTestCard::drawBackground(Span const & row) const {
    auto const light = static_cast<std::int32_t>(std::int64_t{24} * (height_ - row.y) / height_);
    Colour const colour{static_cast<std::uint8_t>(34 + light),
                        static_cast<std::uint8_t>(40 + light),
                        static_cast<std::uint8_t>(52 + light)};
    for (std::int32_t x = row.first; x <= row.last; ++x)
        row.set(x, colour);
}

// Brightness is the cosine of the squared distance from the centre: grey on the left; on the right,
// like rings of light, one for each colour. Distances are in half pixels.
void QelTestCard::drawRings(Span const & row) const {
    std::int64_t const dy = 2 * (std::int64_t{row.y} - centreY_) + 1;
    std::int64_t const limit = 4 * std::int64_t{radius_} * radius_;
    Span const span =
        cut(row, QelRect(centreX_ - radius_, centreY_ - radius_, 2 * radius_, 2 * radius_));
    auto const at = [&](std::int64_t square, std::int64_t rings) {
        std::int64_t const turn = ((rings << 32) / radius_) * square >> 32;
        return wave_[static_cast<std::size_t>(turn & 1023)];
    };
    for (std::int32_t x = span.first; x <= span.last; ++x) {
        std::int64_t const dx = 2 * (std::int64_t{x} - centreX_) + 1;
        std::int64_t const square = dx * dx + dy * dy;
        if (square > limit) continue;
        if (dx < 0) {
            span.setGrey(x, at(square, redRings));
        } else {
            span.set(x, {at(square, redRings), at(square, greenRings), at(square, blueRings)});
        }
    }
}

void QelTestCard::drawRamp(Span const & row) const {
    for (std::int32_t x = row.first; x <= row.last; ++x) {
        row.setGrey(x, static_cast<std::int32_t>(std::int64_t{255} * (x - ramp_.x) /
                                                 std::max(1, ramp_.width - 1)));
    }
}

// Black and white blocks on all four sides.
void QelTestCard::drawFrame(Span const & row) const {
    if (row.y < frame_ || row.y >= height_ - frame_) {
        drawBlocks(row);
    } else {
        drawBlocks(cut(row, QelRect(0, 0, frame_, height_)));
        drawBlocks(cut(row, QelRect(width_ - frame_, 0, frame_, height_)));
    }
}

void QelTestCard::drawBlocks(Span const & span) const {
    std::int32_t const side = 2 * frame_;
    for (std::int32_t x = span.first; x <= span.last; ++x) {
        span.setGrey(x, (x / side + span.y / side) % 2 == 0 ? 255 : 0);
    }
}

void QelTestCard::drawText(Text const & text, Span const & span) {
    std::int32_t const dotY = (span.y - text.rect.y) / text.scale;
    for (std::int32_t x = span.first; x <= span.last; ++x) {
        std::int32_t const dotX = (x - text.rect.x) / text.scale;
        char const letter = text.text[static_cast<std::size_t>(dotX / glyphPitch)];
        if (hasDot(letter, dotX % glyphPitch, dotY)) span.set(x, {244, 244, 238});
    }
}

void QelTestCard::drawGrating(Grating const & grating, Span const & span) {
    for (std::int32_t x = span.first; x <= span.last; ++x) {
        std::int32_t const along = grating.upright ? x - grating.rect.x : span.y - grating.rect.y;
        span.setGrey(x, along / grating.period % 2 == 0 ? 255 : 0);
    }
}
