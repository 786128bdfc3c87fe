#pragma once

#include <cstdio>  // ahead of jpeglib.h, which needs it

#include <jpeglib.h>

#include <functional>

#include "ClientTesting.h"

using JpegSettings = std::function<void(jpeg_compress_struct &)>;

// What libjpeg itself makes of a picture, with settings that QelPictureWriter does not offer.
inline Bytes encoded(QelRectBuffer & picture, J_COLOR_SPACE space, JpegSettings const & settings) {
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char * memory = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &memory, &size);
    jpeg.image_width = static_cast<JDIMENSION>(picture.rect().width);
    jpeg.image_height = static_cast<JDIMENSION>(picture.rect().height);
    jpeg.input_components = picture.numBands();
    jpeg.in_color_space = space;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 100, TRUE);
    settings(jpeg);
    jpeg_start_compress(&jpeg, TRUE);
    for (std::int32_t y = 0; y < picture.rect().height; ++y) {
        JSAMPROW row = picture.addressOf(0, y);
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    Bytes bytes(memory, memory + size);
    std::free(memory);
    jpeg_destroy_compress(&jpeg);
    return bytes;
}

inline void plain(jpeg_compress_struct &) {}
