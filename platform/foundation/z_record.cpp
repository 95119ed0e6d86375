#include "platform/foundation/z_record.h"

zVariable zVariable::FromInt32(std::int32_t v) {
  zVariable out;
  out.kind_ = Kind::kInt32;
  out.int_ = v;
  return out;
}

zVariable zVariable::FromFloat(float v) {
  zVariable out;
  out.kind_ = Kind::kFloat;
  out.f_[0] = v;
  return out;
}

zVariable zVariable::FromFloatPoint(zFloatPoint v) {
  zVariable out;
  out.kind_ = Kind::kFloatPoint;
  out.f_[0] = v.x;
  out.f_[1] = v.y;
  return out;
}

zVariable zVariable::FromRect(zRect v) {
  zVariable out;
  out.kind_ = Kind::kRect;
  out.rect_ = v;
  return out;
}

std::int32_t zVariable::AsInt32(std::int32_t def) const {
  if (kind_ == Kind::kInt32) return int_;
  if (kind_ == Kind::kFloat) {
    const float f = f_[0];
    // Out-of-range and NaN floats have no integer value: keep the default.
    if (!(f > -2147483648.0f && f < 2147483648.0f)) return def;
    return static_cast<std::int32_t>(f);
  }
  return def;
}

float zVariable::AsFloat(float def) const {
  if (kind_ == Kind::kFloat) return f_[0];
  if (kind_ == Kind::kInt32) return static_cast<float>(int_);
  return def;
}

zFloatPoint zVariable::AsFloatPoint(zFloatPoint def) const {
  return kind_ == Kind::kFloatPoint ? zFloatPoint(f_[0], f_[1]) : def;
}

zRect zVariable::AsRect(zRect def) const { return kind_ == Kind::kRect ? rect_ : def; }

void zRecord::Set(std::uint32_t id, const zVariable& value) {
  for (auto& [key, var] : vars_) {
    if (key == id) {
      var = value;
      return;
    }
  }
  vars_.emplace_back(id, value);
}

bool zRecord::Remove(std::uint32_t id) {
  for (auto it = vars_.begin(); it != vars_.end(); ++it) {
    if (it->first == id) {
      vars_.erase(it);
      return true;
    }
  }
  return false;
}

const zVariable* zRecord::Variable(std::uint32_t id) const {
  for (const auto& [key, var] : vars_)
    if (key == id) return &var;
  return nullptr;
}

void zRecord::VariableGetList(const std::uint32_t* ids, const zVariable** out, std::int32_t count,
                              const zVariable* missing) const {
  if (!ids || !out) return;
  for (std::int32_t i = 0; i < count; ++i) {
    const zVariable* v = Variable(ids[i]);
    out[i] = v ? v : missing;
  }
}

std::int32_t zRecord::AsInt32(std::uint32_t id, std::int32_t def) const {
  const zVariable* v = Variable(id);
  return v ? v->AsInt32(def) : def;
}

float zRecord::AsFloat(std::uint32_t id, float def) const {
  const zVariable* v = Variable(id);
  return v ? v->AsFloat(def) : def;
}

zFloatPoint zRecord::AsFloatPoint(std::uint32_t id, zFloatPoint def) const {
  const zVariable* v = Variable(id);
  return v ? v->AsFloatPoint(def) : def;
}

zRect zRecord::AsRect(std::uint32_t id, zRect def) const {
  const zVariable* v = Variable(id);
  return v ? v->AsRect(def) : def;
}
