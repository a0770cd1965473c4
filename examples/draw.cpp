#include "draw.h"

namespace {
void Put(unsigned char *rgba, int w, int h, int x, int y, Rgb c) {
    if (x < 0 || y < 0 || x >= w || y >= h) return;
    unsigned char *p = rgba + (static_cast<size_t>(y) * w + x) * 4;
    p[0] = c.r, p[1] = c.g, p[2] = c.b;
}
// Rows of each digit, 3 bits a row, top row first.
const unsigned char kDigits[10][5] = {{7, 5, 5, 5, 7}, {2, 6, 2, 2, 7}, {7, 1, 7, 4, 7}, {7, 1, 7, 1, 7},
                                      {5, 5, 7, 1, 1}, {7, 4, 7, 1, 7}, {7, 4, 7, 5, 7}, {7, 1, 1, 1, 1},
                                      {7, 5, 7, 5, 7}, {7, 5, 7, 1, 7}};
}  // namespace

void DrawDot(unsigned char *rgba, int w, int h, float x, float y, int radius, Rgb c) {
    const int cx = static_cast<int>(x + 0.5f), cy = static_cast<int>(y + 0.5f);
    for (int dy = -radius; dy <= radius; ++dy)
        for (int dx = -radius; dx <= radius; ++dx)
            if (dx * dx + dy * dy <= radius * radius) Put(rgba, w, h, cx + dx, cy + dy, c);
}

void DrawNumber(unsigned char *rgba, int w, int h, int x, int y, int number, int scale, Rgb c) {
    std::string text = std::to_string(number);
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char *rows = kDigits[text[i] - '0'];
        for (int r = 0; r < 5; ++r)
            for (int b = 0; b < 3; ++b)
                if (rows[r] & (4 >> b))
                    for (int sy = 0; sy < scale; ++sy)
                        for (int sx = 0; sx < scale; ++sx)
                            Put(rgba, w, h, x + (static_cast<int>(i) * 4 + b) * scale + sx, y + r * scale + sy, c);
    }
}

void TintMask(unsigned char *rgba, int w, int h, const unsigned char *mask, int left, int top, int maskW, int maskH,
              Rgb color, float opacity) {
    for (int y = 0; y < maskH; ++y)
        for (int x = 0; x < maskW; ++x) {
            const int ix = left + x, iy = top + y;
            if (ix < 0 || iy < 0 || ix >= w || iy >= h) continue;
            const float a = mask[static_cast<size_t>(y) * maskW + x] / 255.0f * opacity;
            unsigned char *p = rgba + (static_cast<size_t>(iy) * w + ix) * 4;
            p[0] = static_cast<unsigned char>(p[0] * (1 - a) + color.r * a);
            p[1] = static_cast<unsigned char>(p[1] * (1 - a) + color.g * a);
            p[2] = static_cast<unsigned char>(p[2] * (1 - a) + color.b * a);
        }
}
