# A box is a target that sees, of this repository, only what it is given: each box has a directory
# of links to the headers it offers, and compiles with the directories of the boxes it links. An
# include that points the wrong way does not find its file.

# box_headers(TARGET SCOPE HEADER...): the headers, given relative to the repository's root, that
# users of TARGET may include by that very path.
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

# glob_relative(VARIABLE PATTERN...): files below the repository's root, relative to it.
macro(glob_relative variable)
    set(${variable})
    foreach(pattern ${ARGN})
        file(GLOB found CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
            ${PROJECT_SOURCE_DIR}/${pattern})
        list(APPEND ${variable} ${found})
    endforeach()
endmacro()

# glob_relative_tree: the same, with all folders below.
macro(glob_relative_tree variable)
    set(${variable})
    foreach(pattern ${ARGN})
        file(GLOB_RECURSE found CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
            ${PROJECT_SOURCE_DIR}/${pattern})
        list(APPEND ${variable} ${found})
    endforeach()
endmacro()
