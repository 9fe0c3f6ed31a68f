/**
 * @file camera.hpp
 * The library and its cameras.
 */
#ifndef ORVEX_CPP_CAMERA_HPP
#define ORVEX_CPP_CAMERA_HPP

#include <array>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "error.hpp"
#include "parameter_types.hpp"

namespace orvex {

/** The library, started for as long as the object lives. There is one in a process. */
class Library {
  public:
    /** Loads the driver module and counts the cameras. @throws Error */
    Library() { require(ox_orvex_init(), "cannot start the library"); }
    ~Library() { end(); }
    Library(Library&& other) noexcept : started_(std::exchange(other.started_, false)) {}
    Library& operator=(Library&& other) noexcept {
        if (this != &other) {
            end();
            started_ = std::exchange(other.started_, false);
        }
        return *this;
    }

    /** Names of the cameras that were there at the start. Does not talk to a camera. */
    std::vector<std::string> cameras() const {
        int16 total = 0;
        require(ox_cam_get_total(&total), "cannot count the cameras");
        std::vector<std::string> names;
        for (int16 i = 0; i < total; ++i) {
            char name[CAM_NAME_LEN + 1] = "";
            require(ox_cam_get_name(i, name), "cannot name camera " + std::to_string(i));
            names.emplace_back(name);
        }
        return names;
    }

    /** "major.minor.patch" of what is installed; needs no start. @throws Error */
    static std::string version() {
        uns16 packed = 0;
        require(ox_orvex_get_ver(&packed), "cannot tell the version");
        return std::to_string(packed >> 8) + '.' + std::to_string(packed >> 4 & 15) + '.' +
               std::to_string(packed & 15);
    }

  private:
    void end() {
        if (started_) ox_orvex_uninit();
    }

    bool started_ = true;
};

/** Called on a thread of the library; the record is valid during the call only. */
using EventFunction = std::function<void(const FRAME_INFO&)>;

class Parameter;

namespace detail {

/** An open camera at an address that stays, for callbacks and runs. */
class OpenCamera {
  public:
    explicit OpenCamera(std::string camera_name) : name(std::move(camera_name)) {
        std::vector<char> writable(name.begin(), name.end());
        writable.push_back('\0');
        orvex::require(ox_cam_open(writable.data(), &handle, EXT_OPEN_EXCLUSIVE),
                       "cannot open camera '" + name + "'");
        // A camera that can't tell of its removal is still worth using.
        listen(OX_CALLBACK_CAM_REMOVED);
    }
    // Afterwards nothing is called back any more.
    ~OpenCamera() { ox_cam_close(handle); }
    OpenCamera(const OpenCamera&) = delete;
    OpenCamera& operator=(const OpenCamera&) = delete;

    // The failure that a removal causes may be seen before the removal is told of.
    bool removed_soon() {
        std::unique_lock<std::mutex> hold(lock_);
        return told_.wait_for(hold, std::chrono::milliseconds(300), [this] { return removed_; });
    }
    bool removed() {
        const std::lock_guard<std::mutex> hold(lock_);
        return removed_;
    }

    template <class Text>
    void require(boolean16 result, const Text& what) {
        if (!result) refuse(what);
    }
    [[noreturn]] void refuse(const std::string& what) {
        const Error error(what);
        if (error.code() == C7_DRIVER_COM_ERROR && removed_soon()) throw CameraGone(error.what());
        throw error;
    }
    template <class Failure = std::runtime_error>
    [[noreturn]] void fail(const std::string& what) {
        if (removed_soon()) throw CameraGone(what);
        throw Failure(what);
    }

    void on(int32 event, EventFunction function) {
        // While the function is exchanged nobody may be in it.
        if (event < 0 || event >= static_cast<int32>(slots_.size()) ||
            !ox_cam_deregister_callback(handle, event)) {
            throw Error("there is no event " + std::to_string(event));
        }
        const bool wanted = function || event == OX_CALLBACK_CAM_REMOVED;
        slots_[static_cast<size_t>(event)].function = std::move(function);
        if (wanted) require(listen(event), "cannot hear of event " + std::to_string(event));
    }

    const std::string name;
    int16 handle = -1;

  private:
    struct Slot {
        OpenCamera* camera = nullptr;
        bool is_removal = false;
        EventFunction function;
    };

    boolean16 listen(int32 event) {
        Slot& slot = slots_[static_cast<size_t>(event)];
        slot.camera = this;
        slot.is_removal = event == OX_CALLBACK_CAM_REMOVED;
        return ox_cam_register_callback_ex3(handle, event, reinterpret_cast<void*>(&deliver),
                                            &slot);
    }
    static void deliver(const FRAME_INFO* info, void* context) noexcept {
        const Slot& slot = *static_cast<const Slot*>(context);
        if (slot.is_removal) slot.camera->note_removal();
        if (slot.function) slot.function(*info);
    }
    void note_removal() {
        const std::lock_guard<std::mutex> hold(lock_);
        removed_ = true;
        told_.notify_all();
    }

    std::array<Slot, OX_CALLBACK_CAM_RESUMED + 1> slots_;
    std::mutex lock_;
    std::condition_variable told_;
    bool removed_ = false;
};

}  // namespace detail

/**
 * An open camera. Parameters are typed by their ids, `camera.get<PARAM_TEMP>()`; parameter() finds
 * them by name and tells ranges, lists and units. Functions that fail throw Error, or CameraGone
 * when the camera was removed.
 */
class Camera {
  public:
    /** Opens the camera of that name. Talks to it. @throws Error */
    Camera(const Library& /*library*/, const std::string& name)
        : open_(std::make_unique<detail::OpenCamera>(name)) {}
    /** Opens the camera of that number in Library::cameras(). @throws std::out_of_range, Error */
    Camera(const Library& library, unsigned number)
        : Camera(library, library.cameras().at(number)) {}

    /** For the functions of orvex.h. */
    int16 handle() const { return open_->handle; }
    const std::string& name() const { return open_->name; }
    /** Whether the camera was unplugged since it was opened. */
    bool removed() const { return open_->removed(); }

    /** Throws unless a call with this camera succeeded: CameraGone when that is why, else Error. */
    template <class Text>
    void require(boolean16 result, const Text& what) const {
        open_->require(result, what);
    }
    /** Throws for something that went wrong without a call that failed: CameraGone when that is
     * why, else std::runtime_error. */
    [[noreturn]] void fail(const std::string& what) const { open_->fail(what); }

    /** Whether the camera has a parameter, with its present settings. */
    bool available(uns32 id) const {
        boolean16 answer = 0;
        return ox_get_param(handle(), id, ATTR_AVAIL, &answer) && answer;
    }

    /**
     * A value, or a bound or default, of a parameter. What asks the camera (see orvex_params.h)
     * ends a run.
     * @throws Error
     */
    template <uns32 Id>
    ParameterValue<Id> get(int16 attribute = ATTR_CURRENT) const {
        ParameterValue<Id> value{};
        require(read<Id>(value, attribute), "cannot read the parameter");
        return value;
    }
    /** The same, or something else where the camera can't tell. */
    template <uns32 Id>
    ParameterValue<Id> get_or(ParameterValue<Id> otherwise, int16 attribute = ATTR_CURRENT) const {
        ParameterValue<Id> value{};
        return available(Id) && read<Id>(value, attribute) ? value : otherwise;
    }
    /** Sets a parameter. May talk to the camera, and then ends a run. @throws Error */
    template <uns32 Id>
    void set(ParameterValue<Id> value) const {
        require(write<Id>(value), "cannot set the parameter");
    }

    /** Finds a parameter by name, see Parameter. Defined in parameter.hpp. */
    Parameter parameter(const std::string& name) const;

    /**
     * Has a function called on an event, in place of the one before; an empty function ends that.
     * When it returns, the one before does not run and will not be called again. Runs hear of
     * OX_CALLBACK_EOF themselves and take a function of their own.
     * @param event OX_CALLBACK_BOF to OX_CALLBACK_CAM_RESUMED
     * @throws Error
     */
    void on(int32 event, EventFunction function) const { open_->on(event, std::move(function)); }

    /** Stops an acquisition of any kind; harmless when none runs. @throws Error */
    void abort() const {
        require(ox_exp_abort(handle(), CCS_HALT_CLOSE_SHTR), "cannot stop the camera");
    }

    /** For runs: an address that stays when this object is moved. */
    detail::OpenCamera& opened() const { return *open_; }

  private:
    static constexpr size_t text_room = 4096;

    template <uns32 Id>
    boolean16 read(ParameterValue<Id>& value, int16 attribute) const {
        constexpr uns32 type = detail::value_type(Id);
        if constexpr (type == TYPE_CHAR_PTR) {
            // The count of a text that is fetched on first use is known only after a first read.
            std::vector<char> text(text_room);
            const boolean16 result = ox_get_param(handle(), Id, attribute, text.data());
            value = text.data();
            return result;
        } else if constexpr (type == TYPE_TIDAL_STREAM_TYPE) {
            uns32 count = 0;
            if (!ox_get_param(handle(), Id, ATTR_COUNT, &count)) return 0;
            value.resize(count);
            tidal_stream_type record{static_cast<uns16>(count), value.data()};
            return count == 0 || ox_get_param(handle(), Id, attribute, &record);
        } else {
            typename detail::TypeTraits<type>::Storage storage{};
            const boolean16 result = ox_get_param(handle(), Id, attribute, &storage);
            value = static_cast<ParameterValue<Id>>(storage);
            return result;
        }
    }

    template <uns32 Id>
    boolean16 write(ParameterValue<Id>& value) const {
        constexpr uns32 type = detail::value_type(Id);
        static_assert(type != TYPE_CHAR_PTR, "texts are read-only");
        if constexpr (type == TYPE_TIDAL_STREAM_TYPE) {
            tidal_stream_type record{static_cast<uns16>(value.size()), value.data()};
            return ox_set_param(handle(), Id, &record);
        } else {
            auto storage = static_cast<typename detail::TypeTraits<type>::Storage>(value);
            return ox_set_param(handle(), Id, &storage);
        }
    }

    std::unique_ptr<detail::OpenCamera> open_;
};

}  // namespace orvex

#endif
