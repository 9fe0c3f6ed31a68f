/**
 * @file orvex.hpp
 * The library as C++17 objects, header-only over the functions of orvex.h: what is opened is
 * closed, what fails throws, and a frame costs no more than the calls that it takes in C.
 *
 *     orvex::Library library;
 *     orvex::Camera camera(library, 0);
 *     camera.set<PARAM_TEMP_SETPOINT>(-1000);
 *     orvex::ContinuousRun run(camera, {});
 *     for (const orvex::Frame& frame : run) {
 *         if (frame.number() == 100) break;
 *     }
 *
 * Objects can be moved and not copied. None has a thread of its own; functions that are called back
 * run on a thread of the library and must not throw. A Library outlives its cameras, a Camera its
 * runs. What the functions of orvex.h say of threads and of the error state holds here too: an
 * Error that is thrown while other threads use other cameras may tell the code of one of theirs.
 */
#ifndef ORVEX_HPP
#define ORVEX_HPP

#include "cpp/camera.hpp"
#include "cpp/continuous_run.hpp"
#include "cpp/metadata.hpp"
#include "cpp/parameter.hpp"
#include "cpp/run_set_up.hpp"
#include "cpp/sequence.hpp"

#endif
