// Texture: a small RGBA image record, owning its pixels or borrowing them.
//
// Contract: 4 bytes a pixel, packed rows. `pixels` is what is read and
// drawn; it equals `buffer` when the record owns its pixels (GenTexture,
// GenTextureXXRX) and is the caller's pointer when it borrows them
// (GenTextureWithData: the caller's buffer must outlive the record's use).
// `points` is set by the mask renderer on its destination record for the
// length of a draw and is otherwise null. The owned buffer is freed by the
// next Gen call and by the destructor. A Gen call with a null pointer or a
// non-positive size leaves an empty record (no pixels) and returns false.
// Copies are not allowed (the buffer has one owner). Not thread-safe.
#ifndef KLAV_TEXTURE_H
#define KLAV_TEXTURE_H

#include "klav_export.h"
#include "klavtypes.h"

namespace klav {

struct KLAV_API Texture {
    int width = 0;
    int height = 0;
    unsigned char *pixels = nullptr;
    Vector2 *points = nullptr;
    unsigned char *buffer = nullptr;

    Texture() {}
    ~Texture();
    Texture(const Texture &) = delete;
    Texture &operator=(const Texture &) = delete;

    // A new buffer of width * height * 4 bytes, not initialised.
    bool GenTexture(int width, int height);
    // A copy of width * height * 4 bytes.
    bool GenTexture(unsigned char *data, int width, int height);
    // A single-channel source: each byte goes to channel 0 of a new RGBA
    // buffer; the other channels are zero here (rather than left undefined).
    bool GenTextureXXRX(unsigned char *data, int width, int height);
    // Borrows the caller's pixels.
    bool GenTextureWithData(unsigned char *data, int width, int height);

private:
    void Release();
};

}  // namespace klav

#endif
