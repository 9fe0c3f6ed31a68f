/**
 * @file parameter.hpp
 * Parameters by name, with what they tell of themselves.
 */
#ifndef ORVEX_CPP_PARAMETER_HPP
#define ORVEX_CPP_PARAMETER_HPP

#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "../orvex_units.h"
#include "camera.hpp"

namespace orvex {

struct ParameterId {
    const char* name;  ///< "PARAM_TEMP"
    uns32 id;
};

/** All parameters, in the order of their ids. */
inline const std::vector<ParameterId>& all_parameters() {
#define ORVEX_CPP_ROW(name, id) {#name, id},
    static const std::vector<ParameterId> parameters = {ORVEX_PARAMS(ORVEX_CPP_ROW)};
#undef ORVEX_CPP_ROW
    return parameters;
}

/** What the numbers of a parameter count. */
struct Unit {
    const char* name;  ///< "C"
    /** The library counts in whole steps of a part of the unit: 100 for hundredths. */
    int steps = 1;

    /** The library's number of an amount; no whole one when the library can't count it. */
    double to_steps(double amount) const {
        const double exact = amount * steps, whole = std::round(exact);
        // 0.29 C are 29 steps, although 0.29 times 100 is a little less in binary.
        return steps > 1 && std::abs(exact - whole) < 1e-6 ? whole : exact;
    }
};

/** Of a parameter whose unit is always the same. */
inline std::optional<Unit> unit_of(uns32 parameter) {
    switch (parameter) {
#define ORVEX_CPP_CASE(id, steps, name) \
    case id: return Unit{name, steps};
        ORVEX_UNITS(ORVEX_CPP_CASE)
#undef ORVEX_CPP_CASE
        default: return std::nullopt;
    }
}

/** A value: of a boolean, a whole number, a number, a text, or a list of exposures. */
using Value = std::variant<bool, int64, uns64, double, std::string, std::vector<uns32>>;

/** One entry of an enumeration. */
struct EnumEntry {
    int32 value;
    std::string text;
};

/**
 * A parameter of an open camera, available or not. Each function asks the library anew; what asks
 * the camera (see orvex_params.h) ends a run.
 */
class Parameter {
  public:
    Parameter(const Camera& camera, ParameterId id) : camera_(&camera), id_(id) {}

    const char* name() const { return id_.name; }
    uns32 id() const { return id_.id; }
    std::optional<Unit> unit() const { return unit_of(id_.id); }

    /** Whether the camera has it, with its present settings. */
    bool available() const { return camera_->available(id_.id); }
    /** A TYPE_ code. */
    uns32 type() const {
        uns16 type = 0;
        return ask(ATTR_TYPE, &type) ? type : detail::value_type(id_.id);
    }
    /** Whether it can be set. */
    bool writable() const {
        const std::optional<uns16> told = access();
        return told == ACC_READ_WRITE || told == ACC_WRITE_ONLY;
    }
    /** An ACC_ code, where there is one. */
    std::optional<uns16> access() const {
        uns16 access = 0;
        return ask(ATTR_ACCESS, &access) ? std::optional<uns16>(access) : std::nullopt;
    }
    /** Entries of an enumeration or a list, bytes of a text; 0 for a range. */
    uns32 count() const {
        uns32 count = 0;
        return ask(ATTR_COUNT, &count) ? count : 0;
    }
    /** Of an enumeration, in the camera's order; none for other types. */
    std::vector<EnumEntry> entries() const {
        std::vector<EnumEntry> found;
        if (type() != TYPE_ENUM) return found;
        const uns32 number = count();
        for (uns32 i = 0; i < number; ++i) {
            int32 value = 0;
            char text[256] = "";
            if (!ox_get_enum_param(camera_->handle(), id_.id, i, &value, text, sizeof text)) break;
            found.push_back({value, text});
        }
        return found;
    }

    /** The value, or a bound or default; nothing where the camera can't tell. */
    std::optional<Value> find(int16 attribute = ATTR_CURRENT) const {
        const uns32 kind = type();
        std::optional<Value> found;
        if (kind == TYPE_CHAR_PTR) {
            std::vector<char> text(text_room);
            if (ask(attribute, text.data())) found.emplace(std::string(text.data()));
        } else if (is_list(kind)) {
            if (attribute == ATTR_CURRENT) read_list(found);
        } else {
            detail::with_storage(kind, [&](auto storage) {
                if (ask(attribute, &storage)) found.emplace(as_value(kind, storage));
            });
        }
        return found;
    }
    /** The same. @throws Error */
    Value value(int16 attribute = ATTR_CURRENT) const {
        std::optional<Value> found = find(attribute);
        if (!found) camera_->require(0, std::string("cannot read ") + id_.name);
        return *found;
    }
    /** A number in its unit: degrees where the library counts in hundredths of a degree.
     * @throws Error, std::invalid_argument when it is no number */
    double amount(int16 attribute = ATTR_CURRENT) const {
        const std::optional<Unit> counts = unit();
        return number(value(attribute)) / (counts ? counts->steps : 1);
    }

    /**
     * Sets a number, in the steps of the library, or a boolean. May talk to the camera.
     * @throws std::invalid_argument for what the type can't hold, Error for what the camera refuses
     */
    void set(double number) const {
        const uns32 kind = type();
        const bool settable = detail::with_storage(kind, [&](auto storage) {
            using T = decltype(storage);
            if (!fits<T>(number)) {
                throw std::invalid_argument(std::to_string(number) + " is no value of " + id_.name);
            }
            storage = static_cast<T>(number);
            write(&storage);
        });
        if (!settable) throw std::invalid_argument(std::string(id_.name) + " is no number");
    }
    /** Sets a list of exposures. */
    void set(std::vector<uns32> values) const {
        if (!is_list(type()) || values.size() > std::numeric_limits<uns16>::max()) {
            throw std::invalid_argument(std::string(id_.name) + " takes no such list");
        }
        tidal_stream_type record{static_cast<uns16>(values.size()), values.data()};
        write(&record);
    }
    /** Sets an enumeration by the text of its entry. */
    void set(const std::string& text) const {
        for (const EnumEntry& entry : entries()) {
            if (entry.text == text) return set(entry.value);
        }
        throw std::invalid_argument("'" + text + "' is no value of " + id_.name);
    }
    /** Sets a number in its unit. */
    void set_amount(double amount) const {
        const std::optional<Unit> counts = unit();
        set(counts ? counts->to_steps(amount) : amount);
    }

    /** A number of a value. @throws std::invalid_argument when it is none */
    static double number(const Value& value) {
        return std::visit(
            [](const auto& held) -> double {
                if constexpr (std::is_arithmetic_v<std::decay_t<decltype(held)>>) {
                    return static_cast<double>(held);
                } else {
                    throw std::invalid_argument("the value is no number");
                }
            },
            value);
    }

  private:
    static constexpr size_t text_room = 4096;

    static bool is_list(uns32 type) {
        return type == TYPE_TIDAL_STREAM_TYPE || type == TYPE_TIDAL_STREAM_TYPE_PTR;
    }

    template <class T>
    static Value as_value(uns32 type, T storage) {
        if (type == TYPE_BOOLEAN) return storage != 0;
        if constexpr (std::is_floating_point_v<T>) {
            return static_cast<double>(storage);
        } else if constexpr (std::is_signed_v<T>) {
            return static_cast<int64>(storage);
        } else {
            return static_cast<uns64>(storage);
        }
    }

    template <class T>
    static bool fits(double number) {
        if (std::is_floating_point_v<T>) return std::isfinite(number);
        using Limits = std::numeric_limits<T>;
        // The bounds of 64 bits round up to a number that doesn't fit.
        return number == std::floor(number) && number >= static_cast<double>(Limits::min()) &&
               number < static_cast<double>(Limits::max() / 2 + 1) * 2;
    }

    boolean16 ask(int16 attribute, void* value) const {
        return ox_get_param(camera_->handle(), id_.id, attribute, value);
    }
    void write(void* value) const {
        camera_->require(ox_set_param(camera_->handle(), id_.id, value),
                         std::string("cannot set ") + id_.name);
    }

    void read_list(std::optional<Value>& found) const {
        std::vector<uns32> values(std::min<uns32>(count(), std::numeric_limits<uns16>::max()));
        tidal_stream_type record{static_cast<uns16>(values.size()), values.data()};
        if (values.empty() || ask(ATTR_CURRENT, &record)) found.emplace(std::move(values));
    }

    const Camera* camera_;
    ParameterId id_;
};

/** A parameter by name, with or without "PARAM_", in any case. @throws std::invalid_argument */
inline Parameter Camera::parameter(const std::string& name) const {
    std::string wanted;
    for (const char c : name) wanted += c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    for (const ParameterId& row : all_parameters()) {
        const std::string known = row.name;
        if (known == wanted || known.substr(6) == wanted) return Parameter(*this, row);
    }
    throw std::invalid_argument("there is no parameter '" + name + "'");
}

}  // namespace orvex

#endif
