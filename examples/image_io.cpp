#include "image_io.h"

#include <stb/stb_image.h>
#include <stb/stb_image_write.h>

bool LoadRgba(const std::string &path, RgbaImage &out) {
    int w = 0, h = 0, n = 0;
    unsigned char *data = stbi_load(path.c_str(), &w, &h, &n, 4);
    if (!data) return false;
    out.width = w;
    out.height = h;
    out.pixels.assign(data, data + static_cast<size_t>(w) * h * 4);
    stbi_image_free(data);
    return true;
}

bool SavePng(const std::string &path, const unsigned char *data, int width, int height,
             int channels) {
    return stbi_write_png(path.c_str(), width, height, channels, data, width * channels) != 0;
}
