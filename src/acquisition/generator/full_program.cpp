#include "acquisition/generator/program_writer.h"
#include "acquisition/io_script.h"

namespace {

using bv::Emit;

constexpr uns16 endless_loop_count = 65535;

// Writes the life of a sequence or continuous run, operation by operation.
class FullProgram {
  public:
    FullProgram(const bv::ProgramSetup& setup, script_type& script)
        : setup_(setup),
          cam_(setup.camera),
          script_(script),
          rows_(static_cast<uns16>(cam_.postmask + cam_.premask + cam_.par_size)) {
        state_.working_par_size = cam_.par_size;
        state_.working_premask = cam_.premask;
    }

    bool Write() {
        SensorModes();
        factors_ = bv::SplitExposure(cam_, setup_.exp_mode, setup_.exposure_time);
        if (factors_.scale != 0 && setup_.exp_mode != FLASH_MODE) {
            Emit(OP_EXPOSE_SCALE, factors_.scale);
        }
        BeginSequence();
        Expose();
        if (cam_.frame_transfer_on) TransferFrame();
        bv::WriteReadout(setup_, state_, script_);
        if (state_.HasFailed()) return false;
        EndSequence();
        return true;
    }

  private:
    bool ClearsPreExposure() const {
        return cam_.clear_mode == CLEAR_PRE_EXPOSURE ||
               cam_.clear_mode == CLEAR_PRE_EXPOSURE_POST_SEQ;
    }
    bool ClearsPreSequence() const {
        return cam_.clear_mode == CLEAR_PRE_SEQUENCE || cam_.clear_mode == CLEAR_PRE_POST_SEQUENCE;
    }
    bool ClearsPostSequence() const {
        return cam_.clear_mode == CLEAR_POST_SEQUENCE ||
               cam_.clear_mode == CLEAR_PRE_POST_SEQUENCE ||
               cam_.clear_mode == CLEAR_PRE_EXPOSURE_POST_SEQ;
    }
    bool IsContinuous() const { return setup_.buf_mode != CIRC_NONE; }
    // A long exposure glows less with the preamplifier off.
    bool SwitchesPreamp() const {
        return setup_.exposure_time > setup_.preamp_off_control &&
               setup_.exp_mode != VARIABLE_TIMED_MODE;
    }

    void OpenShutter() {
        bv::EmitPortActions(setup_, SCR_PRE_OPEN_SHTR);
        Emit(OP_OPEN_SHUTTER);
        bv::EmitPortActions(setup_, SCR_POST_OPEN_SHTR);
    }
    void CloseShutter() {
        bv::EmitPortActions(setup_, SCR_PRE_CLOSE_SHTR);
        Emit(OP_CLOSE_SHUTTER);
        bv::EmitPortActions(setup_, SCR_POST_CLOSE_SHTR);
    }
    void Integrate(orvex_ccl_operation op, uns16 argument) {
        bv::EmitPortActions(setup_, SCR_PRE_INTEGRATE);
        Emit(op, argument);
        bv::EmitPortActions(setup_, SCR_POST_INTEGRATE);
    }
    void Flash(uns16 duration) {
        bv::EmitPortActions(setup_, SCR_PRE_FLASH);
        Emit(OP_FLASH, duration);
        bv::EmitPortActions(setup_, SCR_POST_FLASH);
    }

    // All cycles fit in one operation.
    bool ClearsAtOnce() const { return rows_ <= 65535 / cam_.clear_cycles; }
    uns16 RowsOfAllCycles() const { return static_cast<uns16>(rows_ * cam_.clear_cycles); }

    void Clear() {
        if (cam_.clear_cycles == 0) return;
        const auto clear = setup_.parallel_clear ? OP_PARALLEL_CLEAR : OP_PARALLEL_DIS;
        if (ClearsAtOnce()) {
            Emit(clear, RowsOfAllCycles());
            return;
        }
        Emit(OP_DO_LOOP, cam_.clear_cycles);
        Emit(clear, rows_);
        Emit(OP_END_DO);
    }

    // Inside an exposure loop a camera can't clear in parallel. The wrapped product of the looped
    // form is what such cameras have always been sent.
    void ClearBeforeExposure() {
        if (cam_.clear_cycles == 0) return;
        const bool parallel = setup_.parallel_clear && !in_loop_;
        if (ClearsAtOnce()) {
            Emit(parallel ? OP_PARALLEL_CLEAR : OP_PARALLEL_DIS, RowsOfAllCycles());
            return;
        }
        Emit(OP_DO_LOOP, cam_.clear_cycles);
        if (parallel) {
            Emit(OP_PARALLEL_CLEAR, RowsOfAllCycles());
        } else {
            Emit(OP_PARALLEL_DIS, rows_);
        }
        Emit(OP_END_DO);
    }

    void SensorModes() {
        Emit(OP_ANTIBLOOM_OFF);
        Emit(cam_.alt_on ? OP_PARALLEL_ALT_ON : OP_PARALLEL_ALT_OFF);
        if (cam_.mpp_selectable) Emit(cam_.mpp_on ? OP_MPP_ON : OP_MPP_OFF);
        state_.current_sbin = bv::CommonSerialBinning(setup_.regions).value_or(0);
        if (state_.current_sbin != 0) Emit(OP_SET_SERIAL_BIN, state_.current_sbin);
        if (cam_.shtr_open_mode == OPEN_NEVER) CloseShutter();
    }

    void BeginSequence() {
        if (cam_.frame_capable) Emit(OP_IMAGE_AND_STORAGE);
        if (cam_.shtr_open_mode == OPEN_PRE_SEQUENCE) OpenShutter();
        const bool trigger_first = setup_.exp_mode == TRIGGER_FIRST_MODE;
        if (trigger_first) {
            Emit(ClearsPreSequence() ? OP_CLEAR_UNTIL_TRIG : OP_EXPOSE_UNTIL_TRIG);
        } else if (ClearsPreSequence()) {
            Clear();
        }
        if (ClearsPreExposure()) Clear();
        if (IsContinuous()) {
            // 65535 times 65535 frames: ends only by being stopped.
            Emit(OP_DO_LOOP, endless_loop_count);
            Emit(OP_DO_LOOP, endless_loop_count);
            in_loop_ = true;
        } else if (setup_.exp_total > 1) {
            Emit(OP_DO_LOOP, setup_.exp_total);
            in_loop_ = true;
        }
    }

    void Expose() {
        if (SwitchesPreamp()) Emit(OP_PREAMP_OFF);
        if (cam_.shtr_open_mode == OPEN_PRE_TRIGGER) OpenShutter();
        if (setup_.exp_mode == STROBED_MODE || setup_.exp_mode == BULB_MODE) {
            Emit(ClearsPreExposure() ? OP_CLEAR_UNTIL_TRIG : OP_EXPOSE_UNTIL_TRIG);
        } else if (ClearsPreExposure()) {
            ClearBeforeExposure();
        }
        if (cam_.preflash != 0) Flash(cam_.preflash);
        if (cam_.shtr_open_mode == OPEN_PRE_EXPOSURE) OpenShutter();
        Illuminate();
        if (cam_.shtr_open_mode == OPEN_PRE_EXPOSURE || cam_.shtr_open_mode == OPEN_PRE_TRIGGER) {
            CloseShutter();
        }
        if (SwitchesPreamp()) Emit(OP_PREAMP_ON);
    }

    void Illuminate() {
        const auto expose = cam_.exp_res == EXP_RES_ONE_MILLISEC ? OP_EXPOSE : OP_EXPOSE_FAST;
        if (setup_.exp_mode == BULB_MODE) {
            Integrate(OP_EXPOSE_WHILE_TRIG, 0);
        } else if (setup_.exp_mode == VARIABLE_TIMED_MODE) {
            // The time itself goes to the camera at every start.
            Integrate(expose, 1);
        } else if (setup_.exp_mode == FLASH_MODE) {
            Flash(factors_.scale);
        } else if (setup_.exposure_time != 0) {
            Integrate(expose, factors_.count);
        }
    }

    // Moves the exposed image into the storage half; the frame is read from there alone.
    void TransferFrame() {
        if (state_.working_premask >= state_.working_par_size) {
            Emit(OP_PARALLEL_DIS, state_.working_premask);
            state_.working_premask = 0;
        } else {
            state_.working_par_size = static_cast<uns16>((state_.working_par_size + 1) / 2);
            Emit(OP_PARALLEL_DIS, state_.working_par_size);
        }
        Emit(OP_STORAGE_ONLY);
    }

    void EndSequence() {
        if (cam_.frame_transfer_on) Emit(OP_IMAGE_AND_STORAGE);
        if (IsContinuous()) {
            Emit(OP_END_DO);
            Emit(OP_END_DO);
        } else if (setup_.exp_total > 1) {
            Emit(OP_END_DO);
        }
        if (cam_.shtr_open_mode == OPEN_PRE_SEQUENCE) CloseShutter();
        if (ClearsPostSequence()) Emit(OP_CLEAR);
        Emit(OP_TERMINATE);
    }

    const bv::ProgramSetup& setup_;
    const active_camera_type& cam_;
    script_type& script_;
    const uns16 rows_;  // the whole height
    bv::ProgramState state_;
    bv::ExposureFactors factors_;
    bool in_loop_ = false;
};

}  // namespace

void bv::EmitPortActions(const ProgramSetup& setup, orvex_script_location location) {
    if (!setup.camera.io_info) return;
    // A camera without port actions refuses them; the program goes without.
    bv_io_setup(setup.hcam, (*setup.camera.io_info)[location].next.get());
}

bool bv::WriteFullProgram(const ProgramSetup& setup, script_type& script) {
    return FullProgram(setup, script).Write();
}
