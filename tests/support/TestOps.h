#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

#include <gtest/gtest.h>

#include "MoxSmartPtr.h"
#include "QelImageOp.h"
#include "QelSimpleDataOrg.h"

class Qel2DImage;

// The value that a band of a pixel should have, in image coordinates.
using PixelFunction = std::function<double(std::int32_t x, std::int32_t y, int band)>;

// A picture whose pixels all differ from their neighbours, in 0 to 126: every element type holds
// these exactly.
double gradientAt(std::int32_t x, std::int32_t y, int band);

// One element at a time, slow and plain: what tests compare fast paths with. For organisations of
// any layout and one element type; the buffer is allocated when it has to be. Storing keeps the
// low bytes of a number that an integer type cannot hold.
double elementAt(QelRectBuffer const & buffer, std::int32_t x, std::int32_t y, int band);
void setElement(QelRectBuffer & buffer, std::int32_t x, std::int32_t y, int band, double value);
// What elementAt() finds after setElement().
double storedAs(QelDataType type, double value);

// All bands of the pixels of `rect` that the buffer has.
void fillPixels(QelRectBuffer & buffer, QelRect const & rect, PixelFunction const & pixels);

// Fails with the first pixel that is wrong:
//     EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientAt));
// Pixels of `rect` that the buffer does not have are wrong as well.
testing::AssertionResult showsPixels(QelRectBuffer const & buffer, QelRect const & rect,
                                     PixelFunction const & pixels);

// What a test op reports: GradientOp({.width = 300, .height = 200, .tileWidth = 64}).
struct TestImage {
    std::int32_t width = 0;
    std::int32_t height = 0;
    int bands = 3;
    QelDataType type = QelDataType::UChar;
    QelLayout layout = PIXEL_INTERLEAVED;
    std::int32_t tileWidth = 128;
    std::int32_t tileHeight = 128;
    std::int32_t originX = 0;
    std::int32_t originY = 0;
    // When set it is reported as it is, and the fields from `bands` on play no part.
    MoxSmartPtr<QelDataOrg> org = nullptr;

    MoxSmartPtr<QelDataOrg> dataOrg() const;
    QelRect rect() const { return QelRect(0, 0, width, height); }
};

// Makes an image from a formula.
class GradientOp : public QelImageOp {
  public:
    explicit GradientOp(TestImage image, PixelFunction pixels = gradientAt);
    ~GradientOp() override;

    bool genOutputInfo(QelImageInfo & info, QelOpContext opContext) override;
    void compute(QelRectBuffer * buffer, QelOpContext opContext) override;

  private:
    TestImage image_;
    PixelFunction pixels_;
};

// Passes everything on to another op and counts it. Safe from any thread.
class CountingOp : public QelImageOp {
  public:
    explicit CountingOp(MoxSmartPtr<QelImageOp> inner);
    ~CountingOp() override;

    int reports() const { return reports_; }              // genOutputInfo()
    int orgQuestions() const { return orgQuestions_; }    // acceptsDataOrg()
    int fillQuestions() const { return fillQuestions_; }  // canFill()
    int computes() const { return computes_; }
    std::int64_t pixels() const { return pixels_; }  // of all computes
    std::vector<QelRect> rects() const;              // of all computes, as they began
    QelOpContext lastContext() const { return lastContext_; }

    bool genOutputInfo(QelImageInfo & info, QelOpContext opContext) override;
    void compute(QelRectBuffer * buffer, QelOpContext opContext) override;
    bool acceptsDataOrg(QelDataOrg * org, QelOpContext opContext) override;
    bool canFill(QelRectBuffer * buffer, QelOpContext opContext) override;

  private:
    MoxSmartPtr<QelImageOp> inner_;
    std::atomic<int> reports_{0};
    std::atomic<int> orgQuestions_{0};
    std::atomic<int> fillQuestions_{0};
    std::atomic<int> computes_{0};
    std::atomic<std::int64_t> pixels_{0};
    std::atomic<QelOpContext> lastContext_{0};
    mutable std::mutex lock_;
    std::vector<QelRect> rects_;
};

// Makes each element from the same element of an input image, which it reads by fillRWBuffer().
class PointOp : public QelImageOp {
  public:
    PointOp(MoxSmartPtr<Qel2DImage> input, std::function<double(double)> function);
    ~PointOp() override;

    bool genOutputInfo(QelImageInfo & info, QelOpContext opContext) override;
    void compute(QelRectBuffer * buffer, QelOpContext opContext) override;

  private:
    MoxSmartPtr<Qel2DImage> input_;
    std::function<double(double)> function_;
};

class AddOp : public PointOp {
  public:
    AddOp(MoxSmartPtr<Qel2DImage> input, double amount);
    ~AddOp() override;
};

// `top` less the input.
class InvertOp : public PointOp {
  public:
    explicit InvertOp(MoxSmartPtr<Qel2DImage> input, double top = 255);
    ~InvertOp() override;
};

// Reports that it is bad, with `status`; that of ZanError() has code 0 and gives no reason.
class BadOp : public QelImageOp {
  public:
    explicit BadOp(ZanError status = ZanError());
    ~BadOp() override;

    bool genOutputInfo(QelImageInfo & info, QelOpContext opContext) override;
    // Raises misuse (3) "BadOp::compute".
    void compute(QelRectBuffer * buffer, QelOpContext opContext) override;

  private:
    ZanError status_;
};

// A GradientOp that will write only into buffers and organisations that it is told to take.
class RefusingOp : public GradientOp {
  public:
    explicit RefusingOp(TestImage image, bool takesBuffers = false, bool takesOrgs = false);
    ~RefusingOp() override;

    bool acceptsDataOrg(QelDataOrg * org, QelOpContext opContext) override;
    bool canFill(QelRectBuffer * buffer, QelOpContext opContext) override;

  private:
    bool takesBuffers_;
    bool takesOrgs_;
};

// A GradientOp whose compute() calls `raise`, once it has done `goodComputes` of them well.
class ThrowingOp : public GradientOp {
  public:
    ThrowingOp(TestImage image, std::function<void()> raise, int goodComputes = 0);
    ~ThrowingOp() override;

    void compute(QelRectBuffer * buffer, QelOpContext opContext) override;

  private:
    std::function<void()> raise_;
    std::atomic<int> goodComputes_;
};
