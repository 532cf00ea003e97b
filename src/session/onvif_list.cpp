// The circular list without a lock; nothing inside the library uses it, hosts do.
#include "sdkapi/session.h"

OnvifList* onvif_list_init(OnvifList* head) {
  head->next = head;
  head->prev = head;
  return head;
}

OnvifList* onvif_list_add_tail(OnvifList* head, OnvifList* node) {
  node->next = head;
  node->prev = head->prev;
  head->prev->next = node;
  head->prev = node;
  return head;
}

OnvifList* onvif_list_remove(OnvifList* node) {
  node->next->prev = node->prev;
  node->prev->next = node->next;
  return node->prev;
}
