#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

#include "orvex/orvex_types.h"

#include "log/argument.h"

// Arguments of the exported operations, each with its word in the log: how it prints on entry,
// whether null is refused, and what it adds to the result of a successful call. The rows of
// operations.def name these kinds.
namespace bv {

enum class ApiLayer { Entry, Exec };

namespace argument {

// An input: prints its value and may be anything.
template <class T>
struct Input {
    const char* word;
    T value;

    auto entered() const {
        // Texts are shown by the kinds that know them to be terminated.
        if constexpr (std::is_pointer_v<T>) {
            return arg(word, static_cast<const void*>(value));
        } else {
            return arg(word, value);
        }
    }
    bool refused() const { return false; }
    void AppendOutput(std::string&, ApiLayer) const {}
};

// A pointer that is neither checked nor shown again.
template <class T>
struct Unchecked : Input<T> {};

// A pointer that may not be null.
template <class T>
struct Pointer : Input<T> {
    bool refused() const { return !this->value; }
};

template <class T>
Input<T> in(const char* word, T value) {
    return {word, value};
}

template <class T>
Unchecked<T> unchecked(const char* word, T value) {
    static_assert(std::is_pointer_v<T>);
    return {{word, value}};
}

template <class T>
Pointer<T> pointer(const char* word, T value) {
    static_assert(std::is_pointer_v<T>);
    return {{word, value}};
}

// An input that prints without a sign, as wide as %u prints it.
template <class T>
auto unsigned_in(const char* word, T value) {
    return in(word, static_cast<unsigned>(value));
}

// An input that prints as text and number.
template <auto text, class T>
struct Enumerated : Input<T> {
    auto entered() const { return bv::enumerated(this->word, this->value, text); }
};

template <auto text, class T>
Enumerated<text, T> enumerated(const char* word, T value) {
    return {{word, value}};
}

template <auto text, class T>
auto unsigned_enumerated(const char* word, T value) {
    return enumerated<text>(word, static_cast<std::make_unsigned_t<T>>(value));
}

template <auto text, class T>
struct HexEnumerated : Input<T> {
    auto entered() const { return bv::hex_enumerated(this->word, this->value, text); }
};

template <auto text, class T>
HexEnumerated<text, T> hex_enumerated(const char* word, T value) {
    return {{word, value}};
}

// A checked text that prints as it is on entry.
struct Name : Pointer<const char*> {
    auto entered() const { return arg(word, value); }
};

inline Name name(const char* word, const char* value) {
    return {{{word, value}}};
}

// An output: prints as an address on entry and as *word=value behind "OZ_OK".
template <class T>
struct Output : Pointer<T*> {
    void AppendOutput(std::string& out, ApiLayer) const {
        out += ", *";
        Append(out, arg(this->word, *this->value));
    }
};

template <class T>
Output<T> out(const char* word, T* value) {
    return {{{word, value}}};
}

// As out(), with another spelling in the result, as out_as("spelling")(word, value).
template <class T>
struct RenamedOutput : Pointer<T*> {
    const char* spelling;

    void AppendOutput(std::string& out, ApiLayer) const {
        out += ", *";
        Append(out, arg(spelling, *this->value));
    }
};

inline auto out_as(const char* spelling) {
    return [spelling]<class T>(const char* word, T* value) {
        return RenamedOutput<T>{{{word, value}}, spelling};
    };
}

template <auto text, class T>
struct EnumeratedOutput : Pointer<T*> {
    void AppendOutput(std::string& out, ApiLayer) const {
        out += ", *";
        Append(out, bv::enumerated(this->word, *this->value, text));
    }
};

template <auto text, class T>
EnumeratedOutput<text, T> out_enumerated(const char* word, T* value) {
    return {{{word, value}}};
}

template <class T>
struct HexOutput : Pointer<T*> {
    void AppendOutput(std::string& out, ApiLayer) const {
        out += FormatText(", *%s=0x%04x", this->word, static_cast<unsigned>(*this->value));
    }
};

template <class T>
HexOutput<T> out_hex(const char* word, T* value) {
    return {{{word, value}}};
}

// A text that the call fills, at most `limit` bytes.
template <size_t limit>
struct TextOutput : Pointer<char*> {
    void AppendOutput(std::string& out, ApiLayer) const {
        const std::string_view text(value, limit);
        out.append(", ").append(word).append("='").append(text.substr(0, text.find('\0')));
        out += '\'';
    }
};

template <size_t limit>
TextOutput<limit> out_text(const char* word, char* value) {
    return {{{word, value}}};
}

// The value of a parameter: only the calls inside know its type. The exec layer shows the outcome
// of a read, and nothing of a write.
template <bool written>
struct ParameterValue : Pointer<void*> {
    void AppendOutput(std::string& out, ApiLayer layer) const {
        if (written && layer == ApiLayer::Exec) return;
        out.append(", *").append(word).append("=<see nested calls>");
    }
};

inline ParameterValue<false> param_read(const char* word, void* value) {
    return {{{word, value}}};
}

inline ParameterValue<true> param_written(const char* word, void* value) {
    return {{{word, value}}};
}

// An optional display text, as description(length)(word, value).
struct Description : Unchecked<char*> {
    uns32 length;

    void AppendOutput(std::string& out, ApiLayer) const {
        out.append(", ").append(word).append("=");
        out += !value ? "<null>" : length == 0 ? "<zero-size>" : value;
    }
};

inline auto description(uns32 length) {
    return [length](const char* word, char* value) { return Description{{{word, value}}, length}; };
}

// The frame information of a frame that was found.
struct FrameNumber : Pointer<FRAME_INFO*> {
    void AppendOutput(std::string& out, ApiLayer) const {
        out += FormatText(", %s->FrameNr=%d", word, value->FrameNr);
    }
};

inline FrameNumber out_frame_number(const char* word, FRAME_INFO* value) {
    return {{{word, value}}};
}

// A record that is shown by one of its members.
struct RoiCapacity : Pointer<md_frame**> {
    void AppendOutput(std::string& out, ApiLayer) const {
        out += FormatText(", *%s=%s, (*%s)->roiCapacity=%u", word, FormatPointer(*value).c_str(),
                          word, static_cast<unsigned>((*value)->roiCapacity));
    }
};

inline RoiCapacity out_roi_capacity(const char* word, md_frame** value) {
    return {{{word, value}}};
}

struct RoiCount : Pointer<md_frame*> {
    void AppendOutput(std::string& out, ApiLayer) const {
        out += FormatText(", %s->roiCount=%u", word, static_cast<unsigned>(value->roiCount));
    }
};

inline RoiCount out_roi_count(const char* word, md_frame* value) {
    return {{{word, value}}};
}

struct ItemCount : Pointer<md_ext_item_collection*> {
    void AppendOutput(std::string& out, ApiLayer) const {
        out += FormatText(", %s->count=%u", word, static_cast<unsigned>(value->count));
    }
};

inline ItemCount out_item_count(const char* word, md_ext_item_collection* value) {
    return {{{word, value}}};
}

}  // namespace argument
}  // namespace bv
