# Sanitizers hold for the whole build or not at all: mixed objects report errors that are none.
if(SANITIZERS)
    # The check of dynamic types needs the class's type information at link time, which a host that only loads the
    # library does not have.
    add_compile_options(-fsanitize=${SANITIZERS} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${SANITIZERS} -fno-sanitize=vptr)
endif()
