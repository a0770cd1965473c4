// CKVBrightEye: iris sharpening and eye-opening lift.
#include "brighteye.h"

#include "common.h"
#include "mathutils.h"
#include "sfdsp.h"
#include "unsharpmask.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace klav {

namespace {

// A lift of the mid tones with a black point at 13.
const unsigned char kEyeCurve[256] = {
      0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   1,   3,
      4,   5,   7,   8,   9,  11,  12,  13,  15,  16,  18,  19,  20,  22,  23,  24,
     26,  27,  28,  30,  31,  32,  34,  35,  36,  38,  39,  40,  42,  43,  44,  45,
     47,  48,  49,  51,  52,  53,  55,  56,  57,  58,  60,  61,  62,  64,  65,  66,
     67,  69,  70,  71,  72,  74,  75,  76,  77,  79,  80,  81,  82,  83,  85,  86,
     87,  88,  89,  91,  92,  93,  94,  95,  97,  98,  99, 100, 101, 102, 103, 105,
    106, 107, 108, 109, 110, 111, 112, 114, 115, 116, 117, 118, 119, 120, 121, 122,
    123, 125, 126, 127, 128, 129, 130, 131, 132, 133, 134, 135, 136, 137, 138, 139,
    140, 141, 142, 143, 144, 145, 146, 147, 148, 149, 150, 151, 152, 153, 154, 155,
    156, 157, 158, 159, 160, 161, 162, 163, 164, 165, 166, 167, 168, 169, 170, 171,
    172, 173, 174, 175, 176, 177, 177, 178, 179, 180, 181, 182, 183, 184, 185, 186,
    187, 188, 189, 189, 190, 191, 192, 193, 194, 195, 196, 197, 198, 198, 199, 200,
    201, 202, 203, 204, 205, 206, 206, 207, 208, 209, 210, 211, 212, 212, 213, 214,
    215, 216, 217, 218, 219, 219, 220, 221, 222, 223, 224, 225, 225, 226, 227, 228,
    229, 230, 231, 231, 232, 233, 234, 235, 236, 236, 237, 238, 239, 240, 241, 242,
    242, 243, 244, 245, 246, 247, 247, 248, 249, 250, 251, 252, 252, 253, 254, 255,
};

bool Finite(const Vector2 &p) { return std::isfinite(p.x) && std::isfinite(p.y); }

// Blend weight of a mask value: int(mask * strength) & 255.
inline int Weight(unsigned char mask, float strength) {
    return static_cast<int>(static_cast<float>(mask) * strength) & 255;
}

// Limits a box to the image; false when nothing is left.
bool ClampBox(int &left, int &top, int &right, int &bottom, int w, int h) {
    left = std::max(left, 0);
    top = std::max(top, 0);
    right = std::min(right, w - 1);
    bottom = std::min(bottom, h - 1);
    return right >= left && bottom >= top;
}

}  // namespace

unsigned char *CKVBrightEye::GetEyeMask(int &left, int &top, int &right, int &bottom, int &maskWidth,
                                        int &maskHeight, bool rightEye) {
    const int base = rightEye ? 10 : 0;
    Vector2 ring[10];
    for (int i = 0; i <= 5; ++i) ring[i] = eyePoints[base + i];
    for (int i = 0; i < 4; ++i) ring[6 + i] = eyePoints[base + 9 - i];
    for (const Vector2 &p : ring)
        if (!Finite(p)) return nullptr;
    int minX = 0, minY = 0, maxX = 0, maxY = 0;
    CMathUtils::GetOutSideRect(ring, 10, minX, minY, maxX, maxY);
    left = minX > INT32_MIN + 10 ? minX - 10 : minX, top = minY > INT32_MIN + 10 ? minY - 10 : minY;
    right = maxX < INT32_MAX - 10 ? maxX + 10 : maxX, bottom = maxY < INT32_MAX - 10 ? maxY + 10 : maxY;
    if (!ClampBox(left, top, right, bottom, imageWidth, imageHeight)) return nullptr;
    maskWidth = right - left + 1;
    maskHeight = bottom - top + 1;
    for (Vector2 &p : ring) p = Vector2{p.x - left, p.y - top};
    unsigned char *mask = detail::NewArray<unsigned char>({maskWidth, maskHeight});
    CMathUtils::FillRect2(mask, maskWidth, maskHeight, ring, 10, 255, 0);
    SFDSP::BlurOneChannelOptimized(mask, maskWidth, maskHeight, 5, SFDSP::GetCPUCount());
    return mask;
}

unsigned char *CKVBrightEye::PupilMask(int &left, int &top, int &right, int &bottom, int &maskWidth,
                                       int &maskHeight, Vector2 *points, Vector2 centre, float radius, int base) {
    if (!points || !Finite(centre) || !std::isfinite(radius)) return nullptr;
    left = detail::SaturateToInt(centre.x - radius), right = detail::SaturateToInt(centre.x + radius);
    top = detail::SaturateToInt(centre.y - radius), bottom = detail::SaturateToInt(centre.y + radius);
    left = left > INT32_MIN + 10 ? left - 10 : left, top = top > INT32_MIN + 10 ? top - 10 : top;
    right = right < INT32_MAX - 10 ? right + 10 : right, bottom = bottom < INT32_MAX - 10 ? bottom + 10 : bottom;
    if (!ClampBox(left, top, right, bottom, imageWidth, imageHeight)) return nullptr;
    maskWidth = right - left + 1;
    maskHeight = bottom - top + 1;
    const size_t n = detail::CheckedSize({maskWidth, maskHeight});
    const Vector2 shift{static_cast<float>(left), static_cast<float>(top)};
    // The disc, 25 points around the centre.
    Vector2 disc[25];
    for (int i = 0; i < 25; ++i) {
        const float a = static_cast<float>(i) * 0.251327f;
        disc[i] = Vector2{centre.x + radius * std::cos(a) - shift.x, centre.y + radius * std::sin(a) - shift.y};
    }
    std::vector<unsigned char> discMask(n, 0);
    CMathUtils::FillRect5(discMask.data(), maskWidth, maskHeight, disc, 25, 255);
    // The opening: upper lid through points 0..5, lower lid back through
    // 5, 9, 8, 7, 6, 0, fifteen samples each.
    Vector2 upper[6], lower[6], ring[30];
    for (int i = 0; i <= 5; ++i) upper[i] = Vector2{points[base + i].x - shift.x, points[base + i].y - shift.y};
    const int back[6] = {5, 9, 8, 7, 6, 0};
    for (int i = 0; i < 6; ++i) lower[i] = Vector2{points[base + back[i]].x - shift.x, points[base + back[i]].y - shift.y};
    for (const Vector2 &p : upper)
        if (!Finite(p)) return nullptr;
    for (const Vector2 &p : lower)
        if (!Finite(p)) return nullptr;
    CMathUtils::LagrangePolyfit(upper, 6, ring, 15);
    CMathUtils::LagrangePolyfit(lower, 6, ring + 15, 15);
    unsigned char *mask = detail::NewArray<unsigned char>({maskWidth, maskHeight});
    std::memset(mask, 255, n);
    CMathUtils::FillRect6(mask, maskWidth, maskHeight, ring, 30, 0);
    SFDSP::BlurOneChannelOptimized(mask, maskWidth, maskHeight, 5, SFDSP::GetCPUCount());
    // Inside the disc the iris takes the opening's value; outside it, 0:
    // the iris mask ends softly under the eyelids.
    for (size_t i = 0; i < n; ++i) mask[i] = discMask[i] ? mask[i] : 0;
    SFDSP::BlurOneChannelOptimized(mask, maskWidth, maskHeight, 3, SFDSP::GetCPUCount());
    return mask;
}

unsigned char *CKVBrightEye::GetLeftEyepupilMask(int &left, int &top, int &right, int &bottom, int &maskWidth,
                                                 int &maskHeight, Vector2 *points, Vector2 centre, float radius) {
    return PupilMask(left, top, right, bottom, maskWidth, maskHeight, points, centre, radius, 0);
}

unsigned char *CKVBrightEye::GetRightEyepupilMask(int &left, int &top, int &right, int &bottom, int &maskWidth,
                                                  int &maskHeight, Vector2 *points, Vector2 centre, float radius) {
    return PupilMask(left, top, right, bottom, maskWidth, maskHeight, points, centre, radius, 10);
}

void CKVBrightEye::Run(unsigned char *image, int width, int height, Vector2 *points, Vector2 leftCentre,
                       float leftRadius, Vector2 rightCentre, float rightRadius, float strength) {
    if (!detail::ValidImage(image, width, height) || !points) return;
    // Strengths outside any sensible range have no meaning; NaN counts as 0.
    if (!(strength == strength)) strength = 0.0f;
    strength = std::min(std::max(strength, -1000.0f), 1000.0f);
    imageWidth = width;
    imageHeight = height;
    eyePoints = points;
    int l, t, r, b, mw, mh;
    const struct {
        Vector2 centre;
        float radius;
        bool right;
    } irises[2] = {{leftCentre, leftRadius, false}, {rightCentre, rightRadius, true}};
    for (const auto &iris : irises) {
        unsigned char *mask = iris.right ? GetRightEyepupilMask(l, t, r, b, mw, mh, points, iris.centre, iris.radius)
                                         : GetLeftEyepupilMask(l, t, r, b, mw, mh, points, iris.centre, iris.radius);
        if (!mask) continue;
        std::vector<unsigned char> box(detail::CheckedSize({mw, mh, 4}));
        for (int y = 0; y < mh; ++y)
            std::memcpy(&box[static_cast<size_t>(y) * mw * 4], image + (static_cast<size_t>(t + y) * width + l) * 4,
                        static_cast<size_t>(mw) * 4);
        CUnsharpMask().Run(box.data(), mw, mh, 4, 80, 5.0f, 0);
        for (int y = 0; y < mh; ++y)
            for (int x = 0; x < mw; ++x) {
                const int a = Weight(mask[static_cast<size_t>(y) * mw + x], strength);
                unsigned char *px = image + (static_cast<size_t>(t + y) * width + l + x) * 4;
                const unsigned char *sh = &box[(static_cast<size_t>(y) * mw + x) * 4];
                for (int c = 0; c < 3; ++c) px[c] = static_cast<unsigned char>((px[c] * (255 - a) + sh[c] * a) / 255);
            }
        delete[] mask;
    }
    for (bool right : {false, true}) {
        unsigned char *mask = GetEyeMask(l, t, r, b, mw, mh, right);
        if (!mask) continue;
        for (int y = 0; y < mh; ++y)
            for (int x = 0; x < mw; ++x) {
                const int a = Weight(mask[static_cast<size_t>(y) * mw + x], strength);
                unsigned char *px = image + (static_cast<size_t>(t + y) * width + l + x) * 4;
                for (int c = 0; c < 3; ++c) px[c] = static_cast<unsigned char>((kEyeCurve[px[c]] * a + px[c] * (255 - a)) / 255);
            }
        delete[] mask;
    }
}

}  // namespace klav
