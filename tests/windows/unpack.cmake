# SPDX-License-Identifier: Apache-2.0
# Unpacks the package afresh, as `prefix` in a folder.
#   cmake -D package=FILE.zip -D name=ITS_FOLDER -D folder=FOLDER -P unpack.cmake
file(REMOVE_RECURSE ${folder})
file(ARCHIVE_EXTRACT INPUT ${package} DESTINATION ${folder})
file(RENAME ${folder}/${name} ${folder}/prefix)
