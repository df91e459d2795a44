# Imported targets are system headers: their warnings are not ours.
find_package(Threads REQUIRED)
find_package(Boost 1.74 REQUIRED COMPONENTS filesystem thread system)
find_package(Log4cpp REQUIRED)
