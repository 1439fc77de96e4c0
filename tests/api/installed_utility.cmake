# SPDX-License-Identifier: Apache-2.0
# Loads an example bitstream with the installed programs into a virtual module.
file(MAKE_DIRECTORY ${folder})
execute_process(COMMAND ${bitgen} 2v3000fg676-4 -o example.rbt WORKING_DIRECTORY ${folder} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} -E env --unset=MWVIRTUAL_RACK KVN_MWAPI=virtual
                        ${utility} -u -dmwc4a -b0 -s1 -fexample.rbt
                WORKING_DIRECTORY ${folder} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
if(NOT output MATCHES "Configuration was successful")
  message(FATAL_ERROR "${output}")
endif()
