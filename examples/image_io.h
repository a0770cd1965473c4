// Reading and writing images for the example hosts: any PNG or JPEG is
// loaded as packed RGBA, results are written as PNG.
#ifndef KLAV_EXAMPLES_IMAGE_IO_H
#define KLAV_EXAMPLES_IMAGE_IO_H

#include <string>
#include <vector>

struct RgbaImage {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels;  // width * height * 4 bytes
};

bool LoadRgba(const std::string &path, RgbaImage &out);
bool SavePng(const std::string &path, const unsigned char *data, int width, int height,
             int channels);

#endif
