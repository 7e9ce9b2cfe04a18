// A loadable library without `talvex_libgui_vendor_hook_init`, for the loader's failure path.
extern "C" int talvex_no_entry_marker() {
    return 0;
}
