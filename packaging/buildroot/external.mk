include $(sort $(wildcard $(BR2_EXTERNAL_LIBSIMCARD_PATH)/package/*/*.mk))
