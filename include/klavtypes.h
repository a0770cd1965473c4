// Shared value types of klav.
//
// Contract: images are raw `unsigned char *` buffers with `int width, int
// height`; colour images hold 4 bytes a pixel (R, G, B, A), masks and grey
// planes 1 byte a pixel, rows packed with no padding; pixel (x, y) starts at
// (y * width + x) * channels. Blocks the library returns to the host come
// from the malloc heap and go back through klavFree. Every type here is a
// plain record copied by value; none of them allocates. Thread-safe as values.
#ifndef KLAV_KLAVTYPES_H
#define KLAV_KLAVTYPES_H

#include "klav_export.h"

namespace klav {

// The constant pi, acos(-1.0), computed when the library is loaded.
KLAV_API extern double g_pi;

struct Vector2 {
    float x, y;
};

struct Vector3 {
    float x, y, z;
};

struct Vector4 {
    float x, y, z, w;
};

struct KvPointF {
    float x, y;
    KvPointF() : x(0), y(0) {}
    KvPointF(float x_, float y_) : x(x_), y(y_) {}
};

struct KvPointI {
    int x, y;
    KvPointI() : x(0), y(0) {}
    KvPointI(int x_, int y_) : x(x_), y(y_) {}
};

struct KvRectF {
    float x, y, width, height;
    KvRectF() : x(0), y(0), width(0), height(0) {}
    KvRectF(float x_, float y_, float w_, float h_) : x(x_), y(y_), width(w_), height(h_) {}
    float right() const { return x + width; }
    float bottom() const { return y + height; }
};

struct KvRectI {
    int x, y, width, height;
    KvRectI() : x(0), y(0), width(0), height(0) {}
    KvRectI(int x_, int y_, int w_, int h_) : x(x_), y(y_), width(w_), height(h_) {}
    int right() const { return x + width; }
    int bottom() const { return y + height; }
};

struct myPoint {
    int x, y;
    myPoint(int x_, int y_) : x(x_), y(y_) {}
};

// Stored as left, right, top, bottom although the constructor takes
// (left, top, right, bottom). Width and height carry no + 1.
struct myRect {
    int left, right, top, bottom;
    myRect(int l, int t, int r, int b) : left(l), right(r), top(t), bottom(b) {}
    myPoint TopLeft() const { return myPoint(left, top); }
    myPoint BottomRight() const { return myPoint(right, bottom); }
    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
};

// Inclusive bounds of a connected region; same field order as myRect.
struct KV_Rect {
    int left, right, top, bottom;
};

// Heap record returned by the contour family, one per call, freed by the host.
struct KVRect {
    int x, y, width, height;
};

struct KVPoint2i {
    int x, y;
};

struct KVColor {
    int r, g, b;
};

struct BorderPt {
    int x, y;
    float a, b, c;
    BorderPt() : x(0), y(0), a(0), b(0), c(0) {}
    BorderPt(int x_, int y_, float a_, float b_, float c_) : x(x_), y(y_), a(a_), b(b_), c(c_) {}
};

struct FaceRect {
    int x, y, width, height;
    Vector2 leftPupil;
    Vector2 rightPupil;
};

struct ZRN_POINT {
    float x, y;
};

struct ZRN_RECT {
    int x, y, width, height;
};

struct CIRCEL {
    float x, y, r;
};

// Histogram channel: 1 red, 2 green, 4 blue; any other value is luminance.
enum _IMAGE_CHANNEL { KV_CHANNEL_RED = 1, KV_CHANNEL_GREEN = 2, KV_CHANNEL_BLUE = 4 };

// Resampling kernel: 0 bilinear, 1 and 3 two distinct cubic kernels, any
// other value a third cubic kernel.
enum eScaleMode { KV_SCALE_BILINEAR = 0, KV_SCALE_CUBIC_SOFT = 1, KV_SCALE_CUBIC = 2, KV_SCALE_CUBIC_SHARP = 3 };

// Liquify stroke mode (CLiquify); 2 is the dragging stroke, resampled along
// the drag, and a negative strength forces the bulge.
enum DeformMode {
    DEFORM_PINCH = 0,    // pixels drawn toward the centre
    DEFORM_BULGE = 1,    // pixels pushed from the centre
    DEFORM_MOVE = 2,     // along the stroke
    DEFORM_RESTORE = 3,  // shrink the displacement
    DEFORM_TWIRL_A = 4,  // twirl one way
    DEFORM_TWIRL_B = 5   // twirl the other way
};

// Polygon fill: 0 direct fill, 1 and 3 one fill, 2 vertical fill.
enum KVPolygonType { KV_POLYGON_DIRECT = 0, KV_POLYGON_ONE = 1, KV_POLYGON_VERTICAL = 2, KV_POLYGON_ONE3 = 3 };

// Gives a block returned by the library back to the heap; null is ignored.
KLAV_API void klavFree(unsigned char *block);
KLAV_API void klavFree(KV_Rect *block);

}  // namespace klav

// Mask bound of the inpainting code; global namespace.
struct tagRectFF {
    int x, y, width, height;
};

#endif
