// Any host, as the linker sees it: the operations that the painter imports by name. The painter is linked
// against this library and so needs a `liborvrender.so`, whoever brings it and whatever its version. It is
// not installed, and nothing of it ever runs.
extern "C" {
void orv_critical() {}
void orv_free() {}
void orv_free_aligned() {}
void orv_get_scene_api() {}
void orv_get_sky() {}
void orv_image_free() {}
void orv_image_free_mode() {}
void orv_image_load() {}
void orv_malloc() {}
void orv_malloc_aligned() {}
void orv_progress_add() {}
void orv_progress_set() {}
}
