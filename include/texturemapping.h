// TextureMapping: redraws an RGBA image triangle by triangle from another.
//
// Contract: images are 4 bytes a pixel with packed rows, pixel (x, y) at
// byte (y * width + x) * 4; source and destination must be distinct buffers
// of the stated sizes. For every destination pixel inside a destination
// triangle the source is sampled bilinearly (truncated, positions clamped to
// the source) at the affine image of the pixel, and channels 0 to 2 of the
// destination are overwritten; channel 3 of the destination is kept.
// Pixels on a shared edge are drawn by each triangle, the later one winning.
// Triangles are index triples into the point lists; the caller guarantees
// that every index is within both lists. A triangle whose corners all lie
// outside the image, or with a NaN or infinite corner, is skipped; counts
// of zero or less draw nothing. Nothing is allocated and the class holds no
// state: it may serve several threads drawing into disjoint destinations.
#ifndef KLAV_TEXTUREMAPPING_H
#define KLAV_TEXTUREMAPPING_H

#include "klav_export.h"
#include "klavtypes.h"

namespace klav {

class KLAV_API TextureMapping {
public:
    // Same size for both images. A triangle whose source and destination
    // corners are equal is skipped: the destination keeps what it holds.
    void DrawTextureList(unsigned char *src, unsigned char *dst, int width, int height, Vector2 *srcPoints,
                         Vector2 *dstPoints, unsigned short *const indices, int triangleCount);
    // Different sizes: the box and the scan use the destination's size, the
    // sampler the source's. No equal-triangle skip.
    void DrawTextureList(unsigned char *src, unsigned char *dst, int srcWidth, int srcHeight, int dstWidth,
                         int dstHeight, Vector2 *srcPoints, Vector2 *dstPoints, unsigned short *indices,
                         int triangleCount);
    // As the first form, blending by a width x height mask m: each colour
    // channel becomes bilinear * m / 255 + (255 - m) * c / 255, with c the
    // source pixel at the truncated sample position. A mask of 0 thus copies
    // the nearest source pixel through the warp.
    void DrawTextureListMask(unsigned char *src, unsigned char *dst, int width, int height, Vector2 *srcPoints,
                             Vector2 *dstPoints, unsigned short *const indices, int triangleCount,
                             unsigned char *mask);

private:
    friend struct TextureMappingTestAccess;
    bool IsTriOutImg(Vector2 *const corners, int width, int height);
    // Sample src at `mapped` (clamped and written back) into the colour
    // channels of dst at the truncated `pixel`.
    void BilinearInterp(unsigned char *src, unsigned char *dst, int width, int height, Vector2 &pixel,
                        Vector2 &mapped);
    void BilinearInterp(unsigned char *src, unsigned char *dst, int srcWidth, int srcHeight, int dstWidth,
                        Vector2 &pixel, Vector2 &mapped);
    void BilinearInterpMask(unsigned char *src, unsigned char *dst, int width, int height, Vector2 &pixel,
                            Vector2 &mapped, unsigned char *mask);
    // Cubic convolution alternative (a = -0.75); does nothing unless both
    // truncated positions lie in the image. No drawing routine calls it.
    void BicubicInterp(unsigned char *src, unsigned char *dst, int width, int height, Vector2 &pixel,
                       Vector2 &mapped);
};

}  // namespace klav

#endif
