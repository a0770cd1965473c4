// Drawing helpers of the example hosts: dots, lines and small numbers on
// RGBA images.
#ifndef KLAV_EXAMPLES_DRAW_H
#define KLAV_EXAMPLES_DRAW_H

#include <string>

struct Rgb {
    unsigned char r, g, b;
};

void DrawDot(unsigned char *rgba, int w, int h, float x, float y, int radius, Rgb c);
// Digits in a 3 x 5 pixel font, scaled by `scale`, top-left at (x, y).
void DrawNumber(unsigned char *rgba, int w, int h, int x, int y, int number, int scale, Rgb c);
// Blends `color` over the image where the mask (maskW x maskH at left, top)
// is set, by mask / 255 * opacity.
void TintMask(unsigned char *rgba, int w, int h, const unsigned char *mask, int left, int top, int maskW, int maskH,
              Rgb color, float opacity);

#endif
