#!/bin/bash
# usage: consumer_test.sh find_package|pkg_config|fetch_content BUILD SOURCE CC CXX: builds a C and a C++ program with the
# library in one of the ways that users do, with the shared and the static library, and runs them. Works in a directory of
# its own, where the library is installed at a place that it was not configured for.
set -eu
way=$1 build=$2 source=$3 cc=$4 cxx=$5
project=$source/tests/consumer/project
mkdir -p "$way"
cd "$way"
rm -rf ./*

install_library() {
    for component in runtime development; do
        cmake --install "$build" --component $component --prefix "$PWD/installed" >/dev/null
    done
    mv installed elsewhere # an installed tree may be moved
    libraries=$(dirname "$(find "$PWD/elsewhere" -name libozrdcy8.so)")
    export LD_LIBRARY_PATH=$libraries
}

# Runs each program, and sees that the shared library is used by those that should.
run_programs() {
    local program
    for program in c_shared cpp_shared c_static cpp_static; do
        "$1/$program" >/dev/null || { echo "$program fails" && exit 1; }
        case $program in
            *_shared) readelf -d "$1/$program" | grep -q 'NEEDED.*libozrdcy8\.so\.11' ;;
            *_static) ! readelf -d "$1/$program" | grep -q 'NEEDED.*libozrdcy8' ;;
        esac || { echo "$program is linked with the wrong library" && exit 1; }
    done
}

# cmake_project ARGUMENTS...
cmake_project() {
    cmake -S "$project" -B build -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
        "$@" >/dev/null
    cmake --build build >/dev/null
}

case $way in
    find_package)
        install_library
        cmake_project -DCMAKE_PREFIX_PATH="$PWD/elsewhere"
        run_programs build
        ;;
    pkg_config)
        install_library
        export PKG_CONFIG_PATH=$libraries/pkgconfig
        pkg-config --atleast-version=11 ozrdc
        read -ra flags <<<"$(pkg-config --cflags --libs ozrdc)"
        read -ra static_flags <<<"$(pkg-config --static --cflags --libs ozrdc)"
        "$cc" -o c_shared "$project/program.c" "${flags[@]}"
        "$cxx" -std=c++20 -o cpp_shared "$project/program.cpp" "${flags[@]}"
        "$cc" -static -o c_static "$project/program.c" "${static_flags[@]}"
        "$cxx" -static -std=c++20 -o cpp_static "$project/program.cpp" "${static_flags[@]}"
        run_programs .
        ;;
    fetch_content)
        cmake_project -DOZRDC_SOURCE="$source"
        run_programs build
        ;;
esac
