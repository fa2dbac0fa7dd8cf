include(KdmxHeaderOnly)
kdmx_header_only(CLI11::CLI11 CLI)
set(CLI11_FOUND TRUE)
