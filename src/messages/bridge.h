#pragma once

#include "orvex/orvex_types.h"

// The bridge is the interface hardware between host and camera head. Its firmware answers commands
// of its own, each aimed at a node of the bus. A refusal sets the bridge's own status as the error
// code, in open mode EXT_OPEN_FW_UPDATE; transport failures are set in open mode 0.

// One command. `recv_data` is filled even when the bridge reports an error status.
boolean16 oz_bridge_command_unlocked(int16 hcam, uns8 node_id, uns8 bridge_command,
                                     uns16 send_data_length, const void* send_data,
                                     uns16 recv_data_length, void* recv_data);

// Puts one line for each node of the chain in cam_systems_info of the camera's row.
boolean16 oz_bridge_read_cam_systems_info(int16 hcam);
