#include "qav_mnt_fwupdate_lib_receiver_aoa.h"

namespace norvane {

qav_mnt_fwupdate_lib_receiver_aoa::~qav_mnt_fwupdate_lib_receiver_aoa() {}

}  // namespace norvane
