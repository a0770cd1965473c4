// CPSBlendColor: gives an image the hue and saturation of another while it
// keeps its own luminosity (the colour blend), in integer arithmetic.
//
// Contract: `image` and `colourSource` are width x height RGBA, packed
// rows; the result goes to `image` in place, bytes 0..2; byte 3 is never
// touched. Luminosity weights 30, 59, 11 (red, green, blue). No allocation;
// reentrant. Sizes below 1 do nothing.
#ifndef KLAV_PSBLENDCOLOR_H
#define KLAV_PSBLENDCOLOR_H

#include "klav_export.h"

namespace klav {

class KLAV_API CPSBlendColor {
public:
    CPSBlendColor() : m_weights{30, 59, 11} {}
    void Run(unsigned char *image, unsigned char *colourSource, int width, int height);

private:
    friend struct CPSBlendColorTestAccess;
    // The colour of colourPixel with the luminosity of pixel, into pixel.
    void ImageColorBlend(unsigned char *pixel, unsigned char *colourPixel);
    // The colour of pixel with the luminosity of lumaPixel, into pixel.
    void ImageLuminosityBlend(unsigned char *pixel, unsigned char *lumaPixel);
    void Blend(unsigned char *out, const unsigned char *colour, const unsigned char *luma);

    int m_weights[3];
};

}  // namespace klav

#endif
