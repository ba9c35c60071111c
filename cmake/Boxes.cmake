# A box is a target that sees only the headers of the boxes it links. Each box has a directory of
# links to the headers it offers; an include that breaks the layering fails to compile.

# box_headers(TARGET SCOPE HEADER...): lets users of TARGET include the headers by their paths
# relative to the repository's root.
function(box_headers target scope)
    set(directory ${PROJECT_BINARY_DIR}/boxes/${target})
    file(REMOVE_RECURSE ${directory})
    foreach(header IN LISTS ARGN)
        get_filename_component(folder ${directory}/${header} DIRECTORY)
        file(MAKE_DIRECTORY ${folder})
        file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${header} ${directory}/${header} SYMBOLIC)
    endforeach()
    target_include_directories(${target} ${scope} ${directory})
endfunction()

# glob_relative(VARIABLE PATTERN...): matching files, relative to the repository's root.
macro(glob_relative variable)
    set(${variable})
    foreach(pattern ${ARGN})
        file(GLOB found CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
            ${PROJECT_SOURCE_DIR}/${pattern})
        list(APPEND ${variable} ${found})
    endforeach()
endmacro()

# glob_relative_tree: like glob_relative, including subfolders.
macro(glob_relative_tree variable)
    set(${variable})
    foreach(pattern ${ARGN})
        file(GLOB_RECURSE found CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
            ${PROJECT_SOURCE_DIR}/${pattern})
        list(APPEND ${variable} ${found})
    endforeach()
endmacro()
