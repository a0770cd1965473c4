// SFDSP: static pixel routines of klav.
//
// Contract: every routine works on caller-owned, tightly packed buffers
// (4 bytes a pixel R, G, B, A, or 1 byte a pixel), in place unless it takes
// a destination. Blurs clamp at the image edges (the nearest edge pixel
// repeats). Scratch memory lives for one call only; nothing is kept between
// calls and no returned pointer outlives a call. Routines are reentrant; the
// threaded forms start their own threads and join them before returning.
// Bad sizes (null buffer, width or height below 1) return at once without
// touching the image; an impossible buffer size throws std::bad_alloc.
#ifndef KLAV_SFDSP_H
#define KLAV_SFDSP_H

#include "klav_export.h"
#include "klavtypes.h"

namespace klav {

class KLAV_API SFDSP {
public:
    // ---- stack blur family: triangular kernel, radius r reaches r pixels
    // to each side, rows then columns with truncation between the passes.
    // Four-channel forms blur bytes 0..2 and never write byte 3.

    // One channel, split into two row bands when threadCount >= 2.
    static void BlurOneChannelOptimized(unsigned char *image, int width, int height, int radius,
                                        int threadCount);
    // Four channels, threadCount row bands then threadCount column bands.
    static void stackBlurOptimizedThreadN(unsigned char *image, int width, int height, int radius,
                                          int threadCount);
    // One channel with GetCPUCount() threads.
    static void BlurOneChannel(unsigned char *image, int width, int height, int radius);
    // Four channels with GetCPUCount() threads.
    static void stackBlur(unsigned char *image, int width, int height, int radius);
    // One channel on the calling thread; radius lowered to min(w, h) / 2.
    static void stackBlurOneChannel(unsigned char *image, int width, int height, int radius);
    // Four channels on the calling thread; radius lowered to min(w, h) / 2.
    static void BlurFourChannle(unsigned char *image, int width, int height, int radius);
    // Four channels: bytes 0..2 become clamp(src - blur + 128).
    static void stackBlurAndHighPass(unsigned char *image, int width, int height, int radius);
    // 3x3 median of a one-channel image; the four corners stay.
    static void MidBlur(unsigned char *image, int width, int height);
    // Thread budget of the filters: half the logical processors, 1 to 4.
    static int GetCPUCount();

    // ---- resampling. The caller allocates dst; src is not written.
    // channels is 1 or 4. Returns true whatever the scaler answered.
    static bool BilinearReSample(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst,
                                 int dstWidth, int dstHeight, int channels, eScaleMode mode);
    // Mode 1 when enlarging (fewer source pixels), mode 2 otherwise.
    static bool BilinearReSample(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst,
                                 int dstWidth, int dstHeight, int channels);
    // Plain bilinear resamplers (the scaler's mode 0). False on bad arguments.
    static bool BilinearReSampleORIG(unsigned char *src, int srcWidth, int srcHeight,
                                     unsigned char *dst, int dstWidth, int dstHeight, int channels);
    static bool imresize(unsigned char *src, int srcWidth, int srcHeight, unsigned char *dst,
                         int dstWidth, int dstHeight, int channels);

    // ---- colour-space conversions (HLS, HSL, HSB, Lab)
    // HLS in doubles 0..1 (always true); the hue rule of HlsToRgb.
    static bool Color_RgbToHls(unsigned char r, unsigned char g, unsigned char b, double *h, double *l, double *s);
    static bool Color_HueToRgb(double p, double q, double h, double *out);
    // Channels out in 0..255 as doubles, unrounded.
    static bool Color_HlsToRgb(double h, double l, double s, double *r, double *g, double *b);
    // HSL in bytes, hue 0..255; a grey pixel has hue 170.
    static void RGBtoHSL(unsigned char r, unsigned char g, unsigned char b, unsigned char *h, unsigned char *s,
                         unsigned char *l);
    static void HSLtoRGB(unsigned char h, unsigned char s, unsigned char l, unsigned char *r, unsigned char *g,
                         unsigned char *b);
    // RGBtoHSL over an RGBA image whose rows are bytesPerRow apart (at least
    // 4 * width), into three packed width x height planes; the bytes are
    // those of RGBtoHSL pixel by pixel. False, with nothing written, for a
    // null pointer, a non-positive size or a short row.
    static bool DecomposeToHSL(const unsigned char *image, int width, int height, int bytesPerRow, unsigned char *h,
                               unsigned char *s, unsigned char *l);
    // HSB: hue in degrees, saturation and brightness 0..1. A hue of 0 gives
    // grey whatever the saturation.
    static void RGBtoHSB(int r, int g, int b, float &h, float &s, float &v);
    static void HSBtoRGB(float h, float s, float v, unsigned char &r, unsigned char &g, unsigned char &b);
    // Byte-scaled Lab planes (L * 2.5599, a * 1.27 + 128, b * 1.27 + 128)
    // of an RGBA image whose rows are bytesPerRow apart (at least 4 * width;
    // otherwise nothing is done); planes are width x height, packed.
    static void DecomposeToLab(unsigned char *image, int width, int height, int bytesPerRow, unsigned char *L,
                               unsigned char *a, unsigned char *b);
    static void RecomposeFromLab(unsigned char *image, int width, int height, int bytesPerRow, unsigned char *L,
                                 unsigned char *a, unsigned char *b);

    // ---- selective colour
    // One range's adjustment of one pixel added to delta[0..2] (the caller
    // subtracts it); min/mid/max are the pixel's bytes in ascending order.
    // Each range tests its condition with strict comparisons, so a tie
    // belongs to no hue range.
    static void KVSelectiveColorRed(unsigned char *pixel, int minValue, int midValue, int maxValue, int *delta,
                                   int cyan, int magenta, int yellow);
    static void KVSelectiveColorYellow(unsigned char *pixel, int minValue, int midValue, int maxValue, int *delta,
                                   int cyan, int magenta, int yellow);
    static void KVSelectiveColorGreen(unsigned char *pixel, int minValue, int midValue, int maxValue, int *delta,
                                   int cyan, int magenta, int yellow);
    static void KVSelectiveColorCyan(unsigned char *pixel, int minValue, int midValue, int maxValue, int *delta,
                                   int cyan, int magenta, int yellow);
    static void KVSelectiveColorBlue(unsigned char *pixel, int minValue, int midValue, int maxValue, int *delta,
                                   int cyan, int magenta, int yellow);
    static void KVSelectiveColorMagenta(unsigned char *pixel, int minValue, int midValue, int maxValue, int *delta,
                                   int cyan, int magenta, int yellow);
    static void KVSelectiveColorWhite(unsigned char *pixel, int minValue, int midValue, int maxValue, int *delta,
                                   int cyan, int magenta, int yellow);
    static void KVSelectiveColorGray(unsigned char *pixel, int minValue, int midValue, int maxValue, int *delta,
                                   int cyan, int magenta, int yellow);
    static void KVSelectiveColorBlack(unsigned char *pixel, int minValue, int midValue, int maxValue, int *delta,
                                   int cyan, int magenta, int yellow);

    // ---- curves, tone routines and mask files
    // Mask files: width, height (32-bit little-endian) and the bytes, no
    // padding. Save refuses a null path or data; false when the file can't
    // be written.
    static bool SaveMaskImage(const char *path, unsigned char *data, int width, int height);
    // Allocates *data with malloc (give it back through klavFree). A short
    // file still loads (true) with the missing bytes zero. A header whose
    // sizes are zero or negative, or whose product does not fit an int, is
    // refused (false) with nothing allocated and the outputs untouched.
    static bool LoadMaskImage(const char *path, unsigned char **data, int &width, int &height);
    // Writes width * height * channels bytes after the header; refuses null
    // data and channel counts below 1.
    static bool SaveBinChannel(const char *path, unsigned char *data, int width, int height, int channels);
    // The curve through (0, 0), (x, y), (255, 255) into `table`.
    static void GeneCurveMiddle(unsigned char *table, int x, int y);
    // (second * p + first * (100 - p)) / 100, into the second image when
    // storeInSecond, else the first; a mask scales p by mask / 255.
    static bool ImageMix(unsigned char *first, unsigned char *second, int width, int height, int percent,
                         int storeInSecond, unsigned char *mask);
    // Adds amount times (image - blurred) to the image.
    static void Sharp(unsigned char *image, unsigned char *blurred, int width, int height, float amount);
    // Shifts hue (degrees, clamped not wrapped), saturation and brightness
    // (per cent) in HSB.
    static void HueSaturationBright(unsigned char *image, int width, int height, int hue, int saturation,
                                    int brightness);
    // Saturation change by value per cent (-100 gives grey).
    static void Saturateconst_Faster(unsigned char *image, long width, long height, long value);
    // The same on a rectangle, in double precision, positive values counting
    // three times.
    static void Saturateconst_Faster(unsigned char *image, long imageWidth, long left, long top, long rectWidth,
                                     long rectHeight, long value);
    // A warm colour wash of `strength` 0..1 over pixelCount pixels.
    static void HQCColor(unsigned char *image, int pixelCount, float strength);
    // A mask of the brightest part of the masked region into `result`.
    static void ShadowHighlightZdk(unsigned char *image, int width, int height, unsigned char *mask,
                                   unsigned char *result);
    // Automatic tone: stretches the levels between the 0.5th and 99.5th
    // percentiles of the histogram to 0..255, blended with the image by
    // `strength` 0..1 (0 leaves the image). keepColour true takes one
    // stretch from the luminance for all three channels (the colour balance
    // stays); false stretches each channel on its own, which also removes a
    // colour cast. Byte 3 stays.
    static void AdjustTone(unsigned char *image, int width, int height, float strength, bool keepColour);
    // A gentle warm beautifying tone: mid-tones lifted a little, red warmed
    // and blue cooled most in the mid-tones, black and white kept.
    static void WeiMei(unsigned char *image, int width, int height);

    // ---- 3D lookup tables
    // Grid-16 table over the whole image (see CKVLut3D for the layout).
    static void KVLut3D(unsigned char *image, unsigned char *table, int width, int height);
    // The same blended by one mask byte a pixel: p + (new - p) * k / 255.
    static void KVLut3D(unsigned char *image, unsigned char *table, int width, int height, unsigned char *mask);
    // One pixel with float cell coordinates (byte * scale, e.g. 15 / 255),
    // written over bytes firstChannel .. endChannel - 1.
    static void Lut3D16(unsigned char *pixel, unsigned char *table, float scale, int firstChannel, int endChannel);
    static void Lut3D64(unsigned char *pixel, unsigned char *table, float scale, int firstChannel, int endChannel);
};

}  // namespace klav

#endif
