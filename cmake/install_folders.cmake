# SPDX-License-Identifier: Apache-2.0
# Where things are installed, beside the folders of GNUInstallDirs.
include(GNUInstallDirs)

# Choice: libraries that programs load by name are in a folder of their own, where no linker finds them in place of the
# board maker's (docs/decisions/0047-providers-in-a-folder-of-their-own.md).
set(KVN_INSTALL_PROVIDERDIR ${CMAKE_INSTALL_LIBDIR}/kvn_fpga CACHE STRING "Virtual carriers, recorder and replay")
# The board maker has a header of the same name: ours must never be found in place of it.
set(KVN_INSTALL_MWAPIDIR ${CMAKE_INSTALL_INCLUDEDIR}/kvn_fpga CACHE STRING "The header mwapi.h")
set(KVN_INSTALL_BASHDIR ${CMAKE_INSTALL_DATADIR}/bash-completion/completions CACHE STRING "Completion for bash")
set(KVN_INSTALL_ZSHDIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Completion for zsh")
set(KVN_INSTALL_FISHDIR ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d CACHE STRING "Completion for fish")
GNUInstallDirs_get_absolute_install_dir(KVN_INSTALL_FULL_PROVIDERDIR KVN_INSTALL_PROVIDERDIR LIBDIR)
