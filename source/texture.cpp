// The owned-or-borrowed image record of the mask renderer.
#include "texture.h"

#include "common.h"

#include <cstring>

namespace klav {

Texture::~Texture() { Release(); }

void Texture::Release() {
    delete[] buffer;
    buffer = nullptr;
    pixels = nullptr;
    width = height = 0;
}

bool Texture::GenTexture(int w, int h) {
    Release();
    if (w <= 0 || h <= 0) return false;
    buffer = detail::NewArray<unsigned char>({w, h, 4});
    pixels = buffer;
    width = w, height = h;
    return true;
}

bool Texture::GenTexture(unsigned char *data, int w, int h) {
    if (!data || !GenTexture(w, h)) return false;
    std::memcpy(buffer, data, detail::CheckedSize({w, h, 4}));
    return true;
}

bool Texture::GenTextureXXRX(unsigned char *data, int w, int h) {
    if (!data) {
        Release();
        return false;
    }
    Release();
    if (w <= 0 || h <= 0) return false;
    buffer = detail::NewZeroArray<unsigned char>({w, h, 4});
    pixels = buffer;
    width = w, height = h;
    const size_t n = detail::CheckedSize({w, h});
    for (size_t i = 0; i < n; ++i) buffer[i * 4] = data[i];
    return true;
}

bool Texture::GenTextureWithData(unsigned char *data, int w, int h) {
    Release();
    if (!data || w <= 0 || h <= 0) return false;
    pixels = data;
    width = w, height = h;
    return true;
}

}  // namespace klav
