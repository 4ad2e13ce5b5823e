# Installs the built library into a scratch prefix, runs the installed orn with no environment
# set, and builds a tiny outside project against it, found once through CMake and once through
# pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
function(run what)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "${what} failed (${rc}):\n${out}\n${err}")
    endif()
    set(out "${out}" PARENT_SCOPE)
endfunction()

run("installing" ${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${prefix})

if(EXISTS ${prefix}/bin/orn)
    # No LD_LIBRARY_PATH: the program must find the installed library by its own run path.
    run("the installed orn info" ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${prefix}/bin/orn info)
    if(NOT out MATCHES "Renderer: ")
        message(FATAL_ERROR "the installed orn info said:\n${out}")
    endif()
endif()

run("configuring the consumer" ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/install/consumer -B ${WORK_DIR}/build
    -DCMAKE_PREFIX_PATH=${prefix} "-DCMAKE_CXX_FLAGS=${CONSUMER_FLAGS}")
run("building the consumer" ${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run("the consumer" ${WORK_DIR}/build/consumer)
if(NOT out MATCHES "orn ok")
    message(FATAL_ERROR "the consumer did not run: ${out}")
endif()

find_program(PKG_CONFIG pkg-config REQUIRED)
file(GLOB_RECURSE pc_files ${prefix}/*/orn.pc)
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
run("pkg-config" ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pc_dir} ${PKG_CONFIG} --cflags --libs orn)
separate_arguments(pc_flags UNIX_COMMAND "${out}")
run("building the consumer with pkg-config" c++ -std=c++20 ${CONSUMER_FLAGS}
    ${SOURCE_DIR}/tests/install/consumer/main.cpp ${pc_flags} -Wl,-rpath,${pc_dir}/.. -o ${WORK_DIR}/pc-consumer)
run("the pkg-config consumer" ${WORK_DIR}/pc-consumer)
if(NOT out MATCHES "orn ok")
    message(FATAL_ERROR "the pkg-config consumer did not run: ${out}")
endif()
