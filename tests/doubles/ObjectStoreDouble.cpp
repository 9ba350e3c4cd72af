#include "platform/ObjectStore.h"

#include "tests/doubles/Recording.h"

using Doubles::Recording;

namespace Core::IO {

ObjectStore::ObjectStore()
{
    Recording().Note("ObjectStore made");
}

ObjectStore::~ObjectStore()
{
    Recording().Note("ObjectStore destroyed");
}

void ObjectStore::SetOutputMode()
{
    Recording().Note("SetOutputMode");
    m_reading = false;
    m_text.clear();
}

bool ObjectStore::SetInputMode(const std::string& text)
{
    // Nothing that the unit tests link reads a record.
    Recording().Note("SetInputMode " + text);
    m_reading = true;
    return false;
}

bool ObjectStore::ProcessDouble(double& value, unsigned int tag)
{
    const std::string pair = std::to_string(tag) + "=" + Doubles::Describe(value);
    Recording().Note("ProcessDouble " + std::to_string(tag) + " " + Doubles::Describe(value));
    m_text += (m_text.empty() ? "" : ";") + pair;
    // The store may write to what it is given; a caller that passes its own value would notice.
    value = -999.0;
    return true;
}

bool ObjectStore::ProcessInt(int& value, unsigned int tag)
{
    const std::string pair = std::to_string(tag) + "=" + std::to_string(value);
    Recording().Note("ProcessInt " + std::to_string(tag) + " " + std::to_string(value));
    m_text += (m_text.empty() ? "" : ";") + pair;
    value = -999;
    return true;
}

std::string ObjectStore::AsString() const
{
    Recording().Note("AsString");
    return m_text;
}

} // namespace Core::IO
