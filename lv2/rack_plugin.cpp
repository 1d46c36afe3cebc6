// Sonx Rack: plays a preset file, whose path is a property that a host sets, saves and restores. The
// file is read by the host's worker, and comes in while the sound goes on.
#include <lv2/atom/forge.h>
#include <lv2/atom/util.h>
#include <lv2/patch/patch.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <set>

#include "instance.h"
#include "plugins.h"

namespace {

struct urids {
  LV2_URID path, sequence, object, urid, get, set, property, value, preset;

  explicit urids(LV2_URID_Map* map) {
    const auto id = [map](const char* uri) { return map->map(map->handle, uri); };
    path = id(LV2_ATOM__Path);
    sequence = id(LV2_ATOM__Sequence);
    object = id(LV2_ATOM__Object);
    urid = id(LV2_ATOM__URID);
    get = id(LV2_PATCH__Get);
    set = id(LV2_PATCH__Set);
    property = id(LV2_PATCH__property);
    value = id(LV2_PATCH__value);
    preset = id(SONX_LV2_RACK_PRESET);
  }
};

// Worker messages are paths, ended by a zero; an empty one asks for the path in force.
constexpr uint32_t kLongestPath = 4096;

class rack_instance : public instance {
 public:
  rack_instance(double rate, LV2_URID_Map* map, const LV2_Worker_Schedule* schedule, host_log log)
      : instance(2, 2, rate), ids_(map), schedule_(schedule), log_(log) {
    lv2_atom_forge_init(&forge_, map);
  }

  void connect(uint32_t port, void* data) {
    if (instance::connect(port, data)) return;
    if (port == kControlPort) control_ = static_cast<const LV2_Atom_Sequence*>(data);
    if (port == kNotifyPort) notify_ = static_cast<LV2_Atom_Sequence*>(data);
  }

  // ---- The audio thread.

  void run(uint32_t frames) {
    if (control_ != nullptr) {
      LV2_ATOM_SEQUENCE_FOREACH(control_, event) {
        if (event->body.type == ids_.object)
          receive(reinterpret_cast<const LV2_Atom_Object*>(&event->body));
      }
    }
    answer();
    instance::run(frames);
  }

  // The worker's answer: the path in force.
  void take_answer(uint32_t size, const void* data) {
    std::memcpy(answer_, data, std::min(size, kLongestPath));
    answer_length_ = std::min(size, kLongestPath);
  }

  // ---- The worker's thread.

  void work(const char* path, LV2_Worker_Respond_Function respond,
            LV2_Worker_Respond_Handle handle) {
    if (*path != '\0') load(path);
    const std::string now = path_in_force();
    if (now.size() < kLongestPath)
      respond(handle, static_cast<uint32_t>(now.size()) + 1, now.c_str());
  }

  // ---- Any thread but the audio thread.

  // What can't be read or is no preset leaves the rack as it was, with a line in the log.
  bool load(const std::string& path) {
    std::error_code ignored;
    std::ifstream file;
    if (!std::filesystem::is_directory(path, ignored)) file.open(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    char error[200] = "can't be read";
    if (!file.is_open() || sonx_rack_load(rack(), text.c_str(), error, sizeof error) != 0) {
      log_.error(path + ": " + error);
      return false;
    }
    set_path(path);
    return true;
  }

  // A file that can't be loaded now, on a disk that isn't there, say, stays the host's choice: saving
  // its state keeps the path.
  bool restore(const std::string& path) {
    const bool loaded = load(path);
    if (!loaded) set_path(path);
    return loaded;
  }

  void set_path(const std::string& path) {
    const std::lock_guard lock(path_lock_);
    path_ = path;
  }

  std::string path_in_force() {
    const std::lock_guard lock(path_lock_);
    return path_;
  }

  const urids& ids() const { return ids_; }

 private:
  void receive(const LV2_Atom_Object* message) {
    if (schedule_ == nullptr) return;
    if (message->body.otype == ids_.get) {
      schedule_->schedule_work(schedule_->handle, 1, "");
    } else if (message->body.otype == ids_.set) {
      const LV2_Atom *property = nullptr, *value = nullptr;
      lv2_atom_object_get(message, ids_.property, &property, ids_.value, &value, 0);
      if (property == nullptr || property->type != ids_.urid || value == nullptr ||
          reinterpret_cast<const LV2_Atom_URID*>(property)->body != ids_.preset ||
          value->type != ids_.path || value->size > kLongestPath)
        return;
      schedule_->schedule_work(schedule_->handle, value->size, LV2_ATOM_BODY_CONST(value));
    }
  }

  // What has been asked for goes out as patch:Set.
  void answer() {
    if (notify_ == nullptr) return;
    lv2_atom_forge_set_buffer(&forge_, reinterpret_cast<uint8_t*>(notify_), notify_->atom.size);
    LV2_Atom_Forge_Frame sequence, object;
    lv2_atom_forge_sequence_head(&forge_, &sequence, 0);
    if (answer_length_ != 0) {
      lv2_atom_forge_frame_time(&forge_, 0);
      lv2_atom_forge_object(&forge_, &object, 0, ids_.set);
      lv2_atom_forge_key(&forge_, ids_.property);
      lv2_atom_forge_urid(&forge_, ids_.preset);
      lv2_atom_forge_key(&forge_, ids_.value);
      lv2_atom_forge_path(&forge_, answer_, answer_length_ - 1);
      lv2_atom_forge_pop(&forge_, &object);
      answer_length_ = 0;
    }
    lv2_atom_forge_pop(&forge_, &sequence);
  }

  const urids ids_;
  const LV2_Worker_Schedule* const schedule_;  // null: the preset comes by way of the state alone
  host_log log_;
  LV2_Atom_Forge forge_;
  const LV2_Atom_Sequence* control_ = nullptr;
  LV2_Atom_Sequence* notify_ = nullptr;
  char answer_[kLongestPath];
  uint32_t answer_length_ = 0;  // with its zero; 0 = nothing to say

  std::mutex path_lock_;
  std::string path_;
};

rack_instance* of(LV2_Handle handle) { return static_cast<rack_instance*>(handle); }

LV2_Handle instantiate(const LV2_Descriptor*, double rate, const char*,
                       const LV2_Feature* const* features) try {
  host_log log(features);
  auto* map = static_cast<LV2_URID_Map*>(feature_data(features, LV2_URID__map));
  auto* schedule = static_cast<LV2_Worker_Schedule*>(feature_data(features, LV2_WORKER__schedule));
  if (map == nullptr) {
    log.error("Sonx Rack: the host lacks urid:map");
    return nullptr;
  }
  auto made = std::make_unique<rack_instance>(rate, map, schedule, log);
  if (made->rack() == nullptr) {
    std::set<int> rates;
    for (int i = 0; i < sonx_effect_count(); ++i)
      rates.insert(sonx_effect_at(i)->rates,
                   sonx_effect_at(i)->rates + sonx_effect_at(i)->rate_count);
    log.error(no_instance("Sonx Rack", rate, {rates.begin(), rates.end()}));
    return nullptr;
  }
  return made.release();
} catch (...) {
  return nullptr;
}

const LV2_Worker_Interface kWorker = {
    .work =
        [](LV2_Handle handle, LV2_Worker_Respond_Function respond, LV2_Worker_Respond_Handle to,
           uint32_t size, const void* data) {
          try {
            const std::string path(static_cast<const char*>(data), size);
            of(handle)->work(path.c_str(), respond, to);
            return LV2_WORKER_SUCCESS;
          } catch (...) {
            return LV2_WORKER_ERR_UNKNOWN;
          }
        },
    .work_response =
        [](LV2_Handle handle, uint32_t size, const void* data) {
          of(handle)->take_answer(size, data);
          return LV2_WORKER_SUCCESS;
        },
    .end_run = nullptr,
};

// A path as the host keeps it: it may move with the project that it stands in.
std::string mapped(const LV2_Feature* const* features, const std::string& path, bool to_file) {
  const auto* map = static_cast<LV2_State_Map_Path*>(feature_data(features, LV2_STATE__mapPath));
  if (map == nullptr) return path;
  char* const made = to_file ? map->absolute_path(map->handle, path.c_str())
                             : map->abstract_path(map->handle, path.c_str());
  if (made == nullptr) return path;
  const std::string result = made;
  const auto* owner =
      static_cast<LV2_State_Free_Path*>(feature_data(features, LV2_STATE__freePath));
  if (owner != nullptr)
    owner->free_path(owner->handle, made);
  else
    std::free(made);
  return result;
}

const LV2_State_Interface kState = {
    .save =
        [](LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state, uint32_t,
           const LV2_Feature* const* features) {
          try {
            const std::string path = of(handle)->path_in_force();
            if (path.empty()) return LV2_STATE_SUCCESS;
            const std::string kept = mapped(features, path, false);
            const urids& ids = of(handle)->ids();
            return store(state, ids.preset, kept.c_str(), kept.size() + 1, ids.path,
                         LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
          } catch (...) {
            return LV2_STATE_ERR_UNKNOWN;
          }
        },
    .restore =
        [](LV2_Handle handle, LV2_State_Retrieve_Function retrieve, LV2_State_Handle state,
           uint32_t, const LV2_Feature* const* features) {
          try {
            size_t size = 0;
            uint32_t type = 0, flags = 0;
            const urids& ids = of(handle)->ids();
            const void* value = retrieve(state, ids.preset, &size, &type, &flags);
            if (value == nullptr) return LV2_STATE_SUCCESS;
            if (type != ids.path) return LV2_STATE_ERR_BAD_TYPE;
            const std::string kept = std::string(static_cast<const char*>(value), size).c_str();
            return of(handle)->restore(mapped(features, kept, true)) ? LV2_STATE_SUCCESS
                                                                     : LV2_STATE_ERR_UNKNOWN;
          } catch (...) {
            return LV2_STATE_ERR_UNKNOWN;
          }
        },
};

const void* extension_data(const char* uri) {
  if (std::strcmp(uri, LV2_WORKER__interface) == 0) return &kWorker;
  if (std::strcmp(uri, LV2_STATE__interface) == 0) return &kState;
  return nullptr;
}

}  // namespace

const LV2_Descriptor kRackDescriptor = {
    .URI = SONX_LV2_RACK,
    .instantiate = instantiate,
    .connect_port = [](LV2_Handle h, uint32_t port, void* data) { of(h)->connect(port, data); },
    .activate = [](LV2_Handle h) { of(h)->activate(); },
    .run = [](LV2_Handle h, uint32_t frames) { of(h)->run(frames); },
    .deactivate = nullptr,
    .cleanup = [](LV2_Handle h) { delete of(h); },
    .extension_data = extension_data,
};
