#include "scene/so_object_settings.h"

#include "platform/foundation/z_string_id.h"

void soObjectSettings::InitalizeRecordNames() {
  zStringID* names = zStringID::Default();
  names->Add(static_cast<std::int32_t>(so_id_build_in_out), "obj_build_in_out");
  names->Add(static_cast<std::int32_t>(so_id_pos), "obj_pos");
  names->Add(static_cast<std::int32_t>(so_id_rot), "obj_rot");
  names->Add(static_cast<std::int32_t>(so_id_scale), "obj_scale");
  names->Add(static_cast<std::int32_t>(so_id_rot_off), "obj_rot_off");
  names->Add(static_cast<std::int32_t>(so_id_trans), "obj_trans");
  names->Add(static_cast<std::int32_t>(so_id_draw_mode), "obj_draw_mode");
  names->Add(static_cast<std::int32_t>(so_id_scroll_pos), "obj_scroll_pos");
  names->Add(static_cast<std::int32_t>(so_id_crop_rect), "obj_crop_rect");
}

void so_apply_settings(so_vectors& v, const zRecord* record) {
  if (!record) return;
  static constexpr std::uint32_t ids[6] = {so_id_pos,     so_id_rot,   so_id_scale,
                                           so_id_rot_off, so_id_trans, so_id_crop_rect};
  const zVariable missing;
  const zVariable* vars[6];
  record->VariableGetList(ids, vars, 6, &missing);

  const zFloatPoint p = vars[0]->AsFloatPoint({0, 0});
  const zFloatPoint r = vars[1]->AsFloatPoint({0, 0});
  const zFloatPoint s = vars[2]->AsFloatPoint({1, 1});
  const zFloatPoint o = vars[3]->AsFloatPoint({0, 0});
  const float t = vars[4]->AsFloat(1.0f);
  const zRect k = vars[5] != &missing ? vars[5]->AsRect(zRect()) : zRect();

  v.pos.x += p.x;
  v.pos.y += p.y;
  v.rot.x += r.x;
  v.rot.y += r.y;
  v.scale.x *= s.x;
  v.scale.y *= s.y;
  v.rot_off.x += o.x;
  v.rot_off.y += o.y;
  v.trans *= t;
  v.crop.left += static_cast<float>(k.left);
  v.crop.top += static_cast<float>(k.top);
  v.crop.right += static_cast<float>(k.right);
  v.crop.bottom += static_cast<float>(k.bottom);
}
