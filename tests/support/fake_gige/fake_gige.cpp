// fake_gige ADDRESS SERIAL [FRACTION]: a GigE Vision camera at an address of this machine, which
// looks at a known scene. Where it loses a fraction of its packets, the scene becomes brighter from
// frame to frame, so that no part of one passes for that of another. Says so when it is there, and
// goes on until it is killed.
#include <algorithm>
#include <arv.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <utility>

#include "scene.h"

namespace {

// Aravis has no name for it.
constexpr ArvPixelFormat mono_12p = 0x010C0047;

// Registers of the fake that nothing else uses.
constexpr guint32 temperature_register = 0x1000;
constexpr guint32 setpoint_register = 0x1004;
constexpr guint32 black_level_register = 0x1008;

void Replace(std::string& text, const std::string& part, const std::string& by) {
    const size_t at = text.find(part);
    if (at == std::string::npos) {
        std::fprintf(stderr, "fake_gige: the description of Aravis has no '%s'\n", part.c_str());
        std::exit(1);
    }
    text.replace(at, part.size(), by);
}

std::string Register(const std::string& name, guint32 address, const std::string& access) {
    return "<IntReg Name=\"" + name + "\"><Address>" + std::to_string(address) +
           "</Address><Length>4</Length><AccessMode>" + access +
           "</AccessMode><pPort>Device</pPort><Sign>Signed</Sign>"
           "<Endianess>BigEndian</Endianess></IntReg>";
}

std::string Degrees(const std::string& name, guint32 address, const std::string& access,
                    const std::string& limits) {
    return "<Float Name=\"" + name + "\"><pValue>" + name + "Converter</pValue>" + limits +
           "</Float><Converter Name=\"" + name +
           "Converter\"><FormulaTo>FROM * 100</FormulaTo><FormulaFrom>TO / "
           "100</FormulaFrom><pValue>" +
           name + "Register</pValue></Converter>" + Register(name + "Register", address, access);
}

// The camera of Aravis with what it lacks: more formats, widths in steps, cooling and a black
// level.
std::string Description() {
    ArvFakeCamera* plain = arv_fake_camera_new("plain");
    size_t size = 0;
    const char* begin = arv_fake_camera_get_genicam_xml(plain, &size);
    std::string text(begin, size);
    g_object_unref(plain);

    std::string formats;
    for (const auto& [name, code] :
         {std::pair{"Mono12", 0x01100005u}, {"Mono12p", mono_12p}, {"Mono10Packed", 0x010C0004u}})
        formats += std::string("<EnumEntry Name=\"") + name + "\"><Value>" + std::to_string(code) +
                   "</Value></EnumEntry>";
    Replace(text, "<pValue>PixelFormatRegister</pValue>",
            formats + "<pValue>PixelFormatRegister</pValue>");
    Replace(text,
            "<pValue>WidthRegister</pValue>\n\t\t<Min>1</Min>\n\t\t<pMax>SensorWidth</"
            "pMax>\n\t\t<Inc>1",
            "<pValue>WidthRegister</pValue>\n<Min>16</Min><pMax>SensorWidth</pMax><Inc>16");
    Replace(text, "<Port Name=\"Device\"",
            Degrees("DeviceTemperature", temperature_register, "RO", "") +
                Degrees("DeviceTemperatureSetpoint", setpoint_register, "RW",
                        "<Min>-40</Min><Max>20</Max>") +
                "<Integer Name=\"BlackLevelRaw\"><pValue>BlackLevelRegister</pValue>"
                "<Min>0</Min><Max>255</Max></Integer>" +
                Register("BlackLevelRegister", black_level_register, "RW") +
                "<Port Name=\"Device\"");
    return text;
}

// What is added to a frame, and what the next one has more.
guint32 brightness = 0;
guint32 growth = 0;

// Puts a pixel behind the bits that are there, in the way of its format.
void Put(guint8* data, size_t index, guint32 value, ArvPixelFormat format) {
    switch (format) {
        case ARV_PIXEL_FORMAT_MONO_8: data[index] = static_cast<guint8>(value); return;
        case mono_12p:
            for (unsigned bit = 0; bit < 12; ++bit)
                if ((value >> bit & 1) != 0)
                    data[(index * 12 + bit) / 8] |=
                        static_cast<guint8>(1 << (index * 12 + bit) % 8);
            return;
        case ARV_PIXEL_FORMAT_MONO_10_PACKED:
            data[index / 2 * 3 + index % 2 * 2] = static_cast<guint8>(value >> 2);
            data[index / 2 * 3 + 1] |= static_cast<guint8>((value & 3) << index % 2 * 4);
            return;
        default:
            data[2 * index] = static_cast<guint8>(value);
            data[2 * index + 1] = static_cast<guint8>(value >> 8);
    }
}

unsigned Bits(ArvPixelFormat format) {
    switch (format) {
        case ARV_PIXEL_FORMAT_MONO_8: return 8;
        case ARV_PIXEL_FORMAT_MONO_10_PACKED: return 10;
        case ARV_PIXEL_FORMAT_MONO_12:
        case mono_12p: return 12;
        default: return 16;
    }
}

void Paint(ArvBuffer* buffer, void* sensor, guint32 /*exposure_us*/, guint32 /*gain*/,
           ArvPixelFormat format) {
    gint left = 0;
    gint top = 0;
    gint width = 0;
    gint height = 0;
    arv_buffer_get_image_region(buffer, &left, &top, &width, &height);
    auto* data = static_cast<guint8*>(const_cast<void*>(arv_buffer_get_data(buffer, nullptr)));
    // The buffer tells no size before it was filled.
    std::fill_n(data, arv_fake_camera_get_payload(static_cast<ArvFakeCamera*>(sensor)), guint8{0});
    brightness += growth;
    size_t index = 0;
    for (gint y = 0; y < height; ++y)
        for (gint x = 0; x < width; ++x)
            Put(data, index++,
                ((fake_gige::Scene(static_cast<guint32>(left + x), static_cast<guint32>(top + y)) +
                  brightness) &
                 0xFFFF) >>
                    (16 - Bits(format)),
                format);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: fake_gige ADDRESS SERIAL [FRACTION of packets to lose]\n");
        return 2;
    }
    std::string file = (std::filesystem::temp_directory_path() / "fake_gige_XXXXXX").string();
    const int handle = mkstemp(file.data());
    if (handle < 0) return 1;
    close(handle);
    std::ofstream(file) << Description();
    ArvGvFakeCamera* camera = arv_gv_fake_camera_new_full(argv[1], argv[2], file.c_str());
    std::filesystem::remove(file);
    if (camera == nullptr || arv_gv_fake_camera_is_running(camera) == FALSE) {
        std::fprintf(stderr, "fake_gige: nothing at %s\n", argv[1]);
        return 1;
    }
    const double lost = argc > 3 ? std::atof(argv[3]) : 0;
    if (lost > 0) growth = 257;
    g_object_set(camera, "gvsp-lost-ratio", lost, nullptr);
    ArvFakeCamera* sensor = arv_gv_fake_camera_get_fake_camera(camera);
    arv_fake_camera_write_register(sensor, ARV_FAKE_CAMERA_REGISTER_SENSOR_WIDTH,
                                   fake_gige::columns);
    arv_fake_camera_write_register(sensor, ARV_FAKE_CAMERA_REGISTER_SENSOR_HEIGHT, fake_gige::rows);
    // -12.34 and -10 degrees.
    arv_fake_camera_write_register(sensor, temperature_register, static_cast<guint32>(-1234));
    arv_fake_camera_write_register(sensor, setpoint_register, static_cast<guint32>(-1000));
    arv_fake_camera_set_fill_pattern(sensor, Paint, sensor);
    std::printf("ready\n");
    std::fflush(stdout);
    for (;;) pause();
}
