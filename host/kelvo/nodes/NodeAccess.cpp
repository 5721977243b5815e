#include "kelvo_host/NodeAccess.h"

namespace trevik::kelvo::detail {

namespace {

/** The way from a node to one further down, as far as it has been found. */
struct PathSearch {
    List<String16> m_names;
    unsigned int m_nClassID = 0;
    unsigned int m_nFound = 0; ///< names that some node stands for, from the first one on
    Node* m_pOther = nullptr;  ///< where the path leads to, but of another class

    /** Takes the path apart; false without memory. */
    bool SetPath(String16 const& sPath) {
        char16_t const* pBegin = sPath.GetData();
        for (char16_t const* pEnd = pBegin;; ++pEnd) {
            if (*pEnd == u'/' || *pEnd == 0) {
                if (!m_names.Append(String16(pBegin, static_cast<unsigned int>(pEnd - pBegin)))) {
                    return false;
                }
                pBegin = pEnd + 1;
            }
            if (*pEnd == 0) {
                return true;
            }
        }
    }

    /** The first node that the names from `nName` on lead to, at `node` or below it. */
    Node* Search(Node& node, unsigned int nName) {
        if (node.GetName() == m_names[nName]) {
            bool const fLast = nName + 1 == m_names.GetCount();
            if (fLast && node.IsKindOf(m_nClassID)) {
                return &node;
            }
            m_pOther = fLast && !m_pOther ? &node : m_pOther;
            m_nFound = nName < m_nFound ? m_nFound : nName + 1;
            nName += fLast ? 0 : 1;
        }
        for (Node* const pChild : node.GetChildren()) {
            if (Node* const pFound = Search(*pChild, nName)) {
                return pFound;
            }
        }
        return nullptr;
    }

    String16 GetFault() const {
        if (m_pOther) {
            return String16::Format(u"is a %s, not of the class asked for",
                                    m_pOther->GetClassName().GetData());
        }
        if (m_nFound == 0) {
            return String16::Format(u"there is no node \"%s\"", m_names[0].GetData());
        }
        return String16::Format(u"there is no node \"%s\" below \"%s\"", m_names[m_nFound].GetData(),
                                m_names[m_nFound - 1].GetData());
    }
};

/** As a program spells the type. */
char16_t const* GetTypeName(PropertyType::Enum type) {
    static char16_t const* const s_names[] = {u"a value of its own kind",
                                              u"a bool",
                                              u"an int",
                                              u"a RealFloat",
                                              u"a Vector2T<RealFloat>",
                                              u"a Vector3T<RealFloat>",
                                              u"a RectangleT<RealFloat>",
                                              u"a ColorT<RealFloat>",
                                              u"a SizeT<int>",
                                              u"a SizeT<RealFloat>",
                                              u"a String16",
                                              u"a List<Vector2T<int>>"};
    return s_names[type < sizeof s_names / sizeof *s_names ? type : 0];
}

/** The names that there are instead of one that is not. */
String16 ListNames(PropertyList const& properties) {
    String16 sNames(u"it has");
    for (unsigned int n = 0; n < properties.GetCount(); ++n) {
        if (char16_t const* const pName = properties.GetEntry(n).m_pDescriptor->m_pName) {
            sNames += String16::Format(n == 0 ? u" %s" : u", %s", pName);
        }
    }
    return sNames;
}

} // namespace

Node* FindNode(Node& root, char const* pPath, unsigned int nClassID, Fault& fault) {
    PathSearch search;
    search.m_nClassID = nClassID;
    if (!search.SetPath(String16(String8(pPath)))) {
        fault = Fault(String8(pPath), String8("no memory"));
        return nullptr;
    }
    Node* const pNode = search.Search(root, 0);
    if (!pNode) {
        fault = Fault(String8(pPath), String8(search.GetFault()));
    }
    return pNode;
}

Property* FindProperty(Node& node, char const* pName, PropertyType::Enum type, Fault& fault) {
    PropertyList const& properties = node.GetProperties();
    PropertyList::Found const pEntry = properties.Find(HashName(pName));
    if (!pEntry) {
        fault = Fault(
            String8(node.GetPath()),
            String8(String16::Format(u"a %s has no property \"%hs\"", node.GetClassName().GetData(), pName)),
            String8(ListNames(properties)));
        return nullptr;
    }
    if (pEntry->m_pDescriptor->m_type != type) {
        fault =
            Fault(String8(node.GetPath()),
                  String8(String16::Format(u"property \"%hs\" is %s, not %s", pName,
                                           GetTypeName(pEntry->m_pDescriptor->m_type), GetTypeName(type))));
        return nullptr;
    }
    return pEntry->m_pProperty;
}

} // namespace trevik::kelvo::detail
