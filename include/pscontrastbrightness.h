// PSContrastBrightness: brightness and contrast of an RGBA image through
// two 256-entry tables.
//
// Contract: width x height RGBA pixels, packed rows, changed in place;
// bytes 0..2 go through the tables, byte 3 is never touched. Brightness
// and contrast run from -100 to 100. Brightness b selects the table of
// value trunc(b * 1.5 + 0.5) (-149..150); contrast c selects
// trunc(c * 0.5 + 0.5) when negative, trunc(c) otherwise (-49..100). A
// value of 0 leaves the image alone; a value outside the tables' range
// (brightness above 100.33, contrast above 100.99 or below -101) gives an
// all-zero table and blackens the colour bytes. A brightness or contrast
// that is not a number counts as 0. Tables live on the stack; reentrant.
#ifndef KLAV_PSCONTRASTBRIGHTNESS_H
#define KLAV_PSCONTRASTBRIGHTNESS_H

#include "klav_export.h"

namespace klav {

class KLAV_API PSContrastBrightness {
public:
    virtual ~PSContrastBrightness() {}
    void Run(unsigned char *image, int width, int height, float brightness, float contrast);

private:
    friend struct PSContrastBrightnessTestAccess;
    void PSBrigheness(unsigned char *image, int width, int height, int value);
    void PSContrast(unsigned char *image, int width, int height, int value);
    void GetPSBrightnessMap(unsigned char *map, int value);
    void GetPSContrastMap(unsigned char *map, int value);
};

}  // namespace klav

#endif
