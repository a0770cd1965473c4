// CColorTransformer: conversions between RGB and YCbCr, Lab and grey, one
// process-wide instance with fixed-point tables.
//
// Contract: pixels are 4 bytes (R, G, B, A); byte 3 is neither read nor
// written. Planes are one byte a pixel. The fixed-point tables (scale 2^14)
// and the sRGB decoding table are filled once, on first use, in a
// thread-safe way, and live until the process ends. The fast forms are
// integer; the float forms keep their own constants, which differ from the
// SFDSP conversions on purpose. The channel forms convert a whole buffer
// of `pixelCount` pixels as one band on the calling thread.
#ifndef KLAV_COLORTRANSFORMER_H
#define KLAV_COLORTRANSFORMER_H

#include "klav_export.h"

namespace klav {

class KLAV_API CColorTransformer {
public:
    static CColorTransformer *GetInstance();

    // sRGB (D50 white) to Lab and back; bytes out are clamped and truncated.
    void sRGB_Pixel_RGB2LAB(unsigned char r, unsigned char g, unsigned char b, float &L, float &a, float &bb);
    void sRGB_Pixel_LAB2RGB(float L, float a, float bb, unsigned char &r, unsigned char &g, unsigned char &b);
    // Fixed-point YCbCr (Y not clamped, Cb and Cr clamped) and back.
    void RGB2YCbCr_Fast(unsigned char &r, unsigned char &g, unsigned char &b, unsigned char &y, unsigned char &cb,
                        unsigned char &cr);
    void YCbCr2RGB_Fast(unsigned char &y, unsigned char &cb, unsigned char &cr, unsigned char &r, unsigned char &g,
                        unsigned char &b);
    // Float YCbCr: 0.4 in place of rounding, results clamped and truncated.
    void RGB2YCbCr(unsigned char &r, unsigned char &g, unsigned char &b, unsigned char &y, unsigned char &cb,
                   unsigned char &cr);
    void YCbCr2RGB(unsigned char &y, unsigned char &cb, unsigned char &cr, unsigned char &r, unsigned char &g,
                   unsigned char &b);
    // Grey with the luma weights; FastProcess needs FastInit first, Fast
    // fills the tables itself.
    void sRGB_Pixel_RGB2GRAY_FastInit();
    void sRGB_Pixel_RGB2GRAY_FastProcess(unsigned char r, unsigned char g, unsigned char b, unsigned char &grey);
    void sRGB_Pixel_RGB2GRAY_Fast(unsigned char &r, unsigned char &g, unsigned char &b, unsigned char &grey);
    // A whole buffer between RGBA pixels and three planes.
    void sRGB_Channel_RGB2YCbCr_Fast(unsigned char *image, unsigned char *y, unsigned char *cb, unsigned char *cr,
                                     int pixelCount);
    void sRGB_Channel_YCbCr2RGB_Fast(unsigned char *image, unsigned char *y, unsigned char *cb, unsigned char *cr,
                                     int pixelCount);

private:
    CColorTransformer();
    CColorTransformer(const CColorTransformer &) = delete;
    CColorTransformer &operator=(const CColorTransformer &) = delete;
    void FillYCbCrTables();
    void FillGrayTables();
    void FillDecodeTable();

    int m_yR[256], m_yG[256], m_yB[256];
    int m_cbR[256], m_cbG[256], m_cbB[256];
    int m_crR[256], m_crG[256], m_crB[256];
    int m_rFromCr[256], m_gFromCr[256], m_gFromCb[256], m_bFromCb[256];
    int m_grayR[256], m_grayG[256], m_grayB[256];
    float m_decode[256];
};

}  // namespace klav

#endif
