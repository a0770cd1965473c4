// klav-detect: finds faces and their landmarks on an image with dlib and
// writes them as the library's 88,416-byte face record.
//
//   klav-detect image.png record.face.bin [points83.txt]
//
// The optional text file lists the 83 points of face 0 in pixels, one "x y"
// a line.
#include "dlib_face.h"
#include "image_io.h"

#include <cstdio>

int main(int argc, char **argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: klav-detect image record.face.bin [points83.txt]\n");
        return 2;
    }
    RgbaImage img;
    if (!LoadRgba(argv[1], img)) {
        std::fprintf(stderr, "klav-detect: cannot read %s\n", argv[1]);
        return 1;
    }
    std::vector<Landmarks68> faces;
    std::string error;
    if (!DetectLandmarks(img.pixels.data(), img.width, img.height, faces, error)) {
        std::fprintf(stderr, "klav-detect: %s\n", error.c_str());
        return 1;
    }
    static NativeFace record;
    FillNativeFace(faces, img.width, img.height, record);
    FILE *out = std::fopen(argv[2], "wb");
    if (!out || std::fwrite(&record, sizeof record, 1, out) != 1) {
        std::fprintf(stderr, "klav-detect: cannot write %s\n", argv[2]);
        if (out) std::fclose(out);
        return 1;
    }
    std::fclose(out);
    std::printf("%d face(s) in %s (%dx%d)\n", record.faceCount, argv[1], img.width, img.height);
    if (argc > 3 && record.faceCount > 0) {
        FILE *txt = std::fopen(argv[3], "w");
        if (!txt) return 1;
        for (int k = 0; k < 83; ++k)
            std::fprintf(txt, "%.3f %.3f\n", record.faces[0].points83[k].x * img.width,
                         record.faces[0].points83[k].y * img.height);
        std::fclose(txt);
    }
    return 0;
}
