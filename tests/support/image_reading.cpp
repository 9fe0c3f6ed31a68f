#include "support/image_reading.h"

#include <fstream>
#include <map>
#include <stdexcept>
#include <string>

namespace support {

namespace {

class File {
  public:
    explicit File(const std::filesystem::path& path) : name_(path.string()) {
        std::ifstream file(path, std::ios::binary);
        if (!file) throw std::runtime_error("cannot read " + name_);
        content_.assign((std::istreambuf_iterator<char>(file)), {});
    }

    size_t size() const { return content_.size(); }
    std::string_view Text(size_t at, size_t count) const {
        if (at > size() || size() - at < count) Damaged("it ends early");
        return std::string_view(content_).substr(at, count);
    }
    uns64 Little(size_t at, size_t count) const {
        const std::string_view bytes = Text(at, count);
        uns64 value = 0;
        for (size_t i = count; i-- > 0;) value = value << 8 | static_cast<uns8>(bytes[i]);
        return value;
    }
    std::vector<uns16> LittlePixels(size_t at, size_t bytes) const {
        Text(at, bytes);
        std::vector<uns16> out(bytes / 2);
        for (size_t i = 0; i < out.size(); ++i) out[i] = static_cast<uns16>(Little(at + 2 * i, 2));
        return out;
    }
    [[noreturn]] void Damaged(const std::string& why) const {
        throw std::runtime_error(name_ + ": " + why);
    }

  private:
    std::string name_;
    std::string content_;
};

// Sizes of the numbers in a file of either kind.
struct TiffShape {
    size_t first_directory;
    size_t count;
    size_t entry;
    size_t offset;
};
constexpr TiffShape classic{4, 2, 12, 4};
constexpr TiffShape big{8, 8, 20, 8};

constexpr uns16 tag_width = 256, tag_height = 257, tag_bits = 258, tag_compression = 259,
                tag_strip = 273, tag_strip_bytes = 279;

// Values of tags that hold one number.
std::map<uns16, uns64> ReadDirectory(const File& file, const TiffShape& shape, size_t at,
                                     uns64 count) {
    std::map<uns16, uns64> tags;
    for (uns64 i = 0; i < count; ++i) {
        const size_t entry = at + shape.count + i * shape.entry;
        const uns64 type = file.Little(entry + 2, 2);
        const size_t bytes = type == 3 ? 2 : type == 16 ? 8 : 4;
        const size_t value = entry + 4 + shape.offset;
        tags[static_cast<uns16>(file.Little(entry, 2))] = file.Little(value, bytes);
    }
    return tags;
}

long Number(const std::map<std::string, std::string>& cards, const std::string& key) {
    const auto found = cards.find(key);
    return found == cards.end() ? 1 : std::stol(found->second);
}

}  // namespace

Frames ReadTiff(const std::filesystem::path& path) {
    const File file(path);
    const uns64 version = file.Little(2, 2);
    if (file.Text(0, 2) != "II" || (version != 42 && version != 43)) file.Damaged("no TIFF");
    const TiffShape& shape = version == 43 ? big : classic;
    Frames out;
    uns64 at = file.Little(shape.first_directory, shape.offset);
    while (at != 0) {
        const uns64 count = file.Little(at, shape.count);
        std::map<uns16, uns64> tags = ReadDirectory(file, shape, at, count);
        out.width = static_cast<uns32>(tags[tag_width]);
        out.height = static_cast<uns32>(tags[tag_height]);
        const size_t bytes = size_t{out.width} * out.height * 2;
        if (tags[tag_bits] != 16 || tags[tag_compression] != 1 || tags[tag_strip_bytes] != bytes) {
            file.Damaged("a page is of another kind");
        }
        out.pixels.push_back(file.LittlePixels(tags[tag_strip], bytes));
        at = file.Little(at + shape.count + count * shape.entry, shape.offset);
    }
    return out;
}

Frames ReadFits(const std::filesystem::path& path) {
    constexpr size_t block = 2880, card = 80;
    const File file(path);
    std::map<std::string, std::string> cards;
    size_t at = 0;
    for (;; at += card) {
        const std::string text(file.Text(at, card));
        if (text == "END" + std::string(card - 3, ' ')) break;
        std::string key = text.substr(0, 8);
        key.erase(key.find_last_not_of(' ') + 1);
        std::string value = text.substr(10, text.find(" /", 10) - 10);
        value.erase(0, value.find_first_not_of(" '"));
        value.erase(value.find_last_not_of(" '") + 1);
        cards[key] = value;
    }
    const size_t data = (at / block + 1) * block;
    Frames out;
    out.width = static_cast<uns32>(Number(cards, "NAXIS1"));
    out.height = static_cast<uns32>(Number(cards, "NAXIS2"));
    const auto frames = static_cast<size_t>(Number(cards, "NAXIS3"));
    const size_t pixels = size_t{out.width} * out.height;
    const size_t blocks = (frames * pixels * 2 + block - 1) / block;
    if (Number(cards, "BITPIX") != 16 || Number(cards, "BZERO") != 32768) {
        file.Damaged("not of unsigned 16 bits");
    }
    const size_t end = data + blocks * block;
    if (file.size() != end && file.Text(end, 20) != "XTENSION= 'BINTABLE'") {
        file.Damaged("not as long as its header says");
    }
    out.cards = std::move(cards);
    for (size_t frame = 0; frame < frames; ++frame) {
        out.pixels.emplace_back(pixels);
        for (size_t i = 0; i < pixels; ++i) {
            const uns64 swapped = file.Little(data + 2 * (frame * pixels + i), 2);
            // Unsigned values are stored with an offset of 32768.
            out.pixels.back()[i] = static_cast<uns16>((swapped >> 8 | swapped << 8) ^ 0x8000);
        }
    }
    return out;
}

std::vector<std::vector<uns16>> ReadRaw(const std::filesystem::path& path, size_t frame_bytes) {
    const File file(path);
    if (file.size() % frame_bytes != 0) file.Damaged("no whole number of frames");
    std::vector<std::vector<uns16>> out;
    for (size_t at = 0; at < file.size(); at += frame_bytes) {
        out.push_back(file.LittlePixels(at, frame_bytes));
    }
    return out;
}

}  // namespace support
