#include "trevik/ClassRegistry.h"

namespace trevik {

ClassContainer::~ClassContainer() {}

Referenced* ClassContainer::Create() {
    return nullptr;
}

ClassRegistry::~ClassRegistry() {
    for (ClassContainer* container : m_containers) {
        delete container;
    }
}

bool ClassRegistry::AddClassContainer(ClassContainer* container) {
    if (!container) {
        return false;
    }
    int const index = Find(container->m_nClassID);
    if (index >= 0) {
        ClassContainer*& place = m_containers[static_cast<unsigned int>(index)];
        if (place != container) {
            delete place;
            place = container;
        }
        return true;
    }
    if (!m_containers.Append(container)) {
        delete container;
        return false;
    }
    return true;
}

Referenced* ClassRegistry::Create(unsigned int classID) const {
    int const index = Find(classID);
    return index < 0 ? nullptr : m_containers[static_cast<unsigned int>(index)]->Create();
}

bool ClassRegistry::IsRegistered(unsigned int classID) const {
    return Find(classID) >= 0;
}

int ClassRegistry::Find(unsigned int classID) const {
    for (unsigned int i = 0; i < m_containers.GetCount(); ++i) {
        if (m_containers[i]->m_nClassID == classID) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

} // namespace trevik
