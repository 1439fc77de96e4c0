# SPDX-License-Identifier: Apache-2.0
# Removes the files that the last installation from a build folder has made, and those of its folders that are left empty.
#   cmake -D manifest=BUILD/install_manifest.txt -P uninstall.cmake
if(NOT EXISTS ${manifest})
  message(FATAL_ERROR "${manifest} is missing: nothing was installed from this build folder")
endif()
file(STRINGS ${manifest} files)

# Folders that others use too stay, even empty.
set(own_folder "/(kvn|kvn_fpga|mwvirtual)(/|$)")

foreach(file IN LISTS files)
  set(file "$ENV{DESTDIR}${file}")
  message(STATUS "Removing ${file}")
  file(REMOVE ${file})
  get_filename_component(folder ${file} DIRECTORY)
  while(folder MATCHES ${own_folder} AND EXISTS ${folder})
    file(GLOB content ${folder}/* ${folder}/.*)
    list(FILTER content EXCLUDE REGEX "/\\.\\.?$")
    if(content)
      break()
    endif()
    file(REMOVE_RECURSE ${folder})
    get_filename_component(folder ${folder} DIRECTORY)
  endwhile()
endforeach()
file(REMOVE ${manifest})
