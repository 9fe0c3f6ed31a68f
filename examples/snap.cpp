// Takes one frame of 20 ms with the first camera and writes it to snap.pgm.
#include <fstream>
#include <orvex/orvex.hpp>

int main() {
    const orvex::Library library;
    const orvex::Camera camera(library, 0);
    const orvex::Image image = orvex::snap(camera, {orvex::Milliseconds(20)});

    std::ofstream file("snap.pgm", std::ios::binary);
    file << "P5\n" << image.width << ' ' << image.height << "\n65535\n";
    for (const uns16 pixel : image.pixels) {
        file.put(static_cast<char>(pixel >> 8)).put(static_cast<char>(pixel & 255));
    }
}
