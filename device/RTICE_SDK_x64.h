/**
 * @file
 * Contract with the closed device library RTICE_SDK_x64: the 44 operations
 * that Pellavox calls.
 *
 * Conventions, unless an operation says otherwise:
 * - The result is a 32-bit status: 0 is success, every other value failure.
 *   Failure codes carry no further meaning for the caller.
 * - Buffers belong to the caller and need to live only as long as the call.
 *   On failure their content is undefined.
 * - Text is 8-bit and NUL-terminated; an operation without a capacity argument
 *   writes at most 128 bytes.
 * - Calls are synchronous and may come from two threads at once (window and
 *   firmware worker).
 * - Only initialize, setDevice, openPort, closePort and uninitialize mean
 *   anything before a port is open; the others then fail.
 */
#pragma once

#include <stdint.h>

#if defined(_WIN32)
#if defined(RTICE_SDK_X64_BUILD)
#define RTICE_SDK_API __declspec(dllexport)
#elif defined(RTICE_SDK_X64_FORWARDED)
#define RTICE_SDK_API
#else
#define RTICE_SDK_API __declspec(dllimport)
#endif
#else
#define RTICE_SDK_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Session ---------------------------------------------------------- */

/** Prepares the library; comes before every other operation. */
RTICE_SDK_API int32_t initialize(void);

/**
 * Selects the USB device to open.
 * @param reserved1 always 0
 * @param reserved2 always 0
 * @param vid       USB vendor id
 * @param pid       USB product id
 */
RTICE_SDK_API int32_t setDevice(uint32_t reserved1, uint32_t reserved2, uint32_t vid, uint32_t pid);

/** Opens the selected device. */
RTICE_SDK_API int32_t openPort(void);

/** Closes the open device; the library stays initialised. */
RTICE_SDK_API int32_t closePort(void);

/** Gives the library's resources back; `initialize` must come next. */
RTICE_SDK_API int32_t uninitialize(void);

/* ---- Provisioning and system ------------------------------------------ */

/** Receives the progress of a burn in percent, 0 to 100; any thread. */
typedef void (*RTICE_ProgressCallback)(float percent); /* NOLINT(modernize-use-using): C */

/**
 * Erases the capture chip's flash and writes a firmware image into it. Returns
 * when the burn has ended, which may take minutes.
 * @param path     NUL-terminated UTF-8 path of the image
 * @param progress called from time to time while the burn runs
 */
RTICE_SDK_API int32_t burnToFlash(const char* path, RTICE_ProgressCallback progress);

/**
 * Writes an HDCP key file into the device's key store.
 * @param path NUL-terminated UTF-8 path of the key file
 */
RTICE_SDK_API int32_t burnHDCP(const char* path);

/**
 * Reads the USB serial number as text.
 * @param buffer   receives the text; not terminated when it fills the buffer
 * @param capacity size of `buffer` in bytes (100)
 * @param length   receives the text's length in bytes
 */
RTICE_SDK_API int32_t AT_USB_Get_SerialNum(uint8_t* buffer, uint32_t capacity, uint32_t* length);

/**
 * Writes the USB serial number.
 * @param bytes  the text, not necessarily terminated
 * @param length number of bytes
 */
RTICE_SDK_API int32_t AT_USB_Set_SerialNum(const uint8_t* bytes, uint32_t length);

/** Restores the device's factory defaults. */
RTICE_SDK_API int32_t AT_RestoreToDefault(void);

/** Restarts the device, which leaves the USB bus for a moment. */
RTICE_SDK_API int32_t AT_Set_System_Reboot(void);

/* ---- Identity --------------------------------------------------------- */

/**
 * Reads the capture firmware version as UTF-8 text.
 * @param buffer at least 128 bytes
 */
RTICE_SDK_API int32_t AT_Get_Customer_Ver(uint8_t* buffer);

/**
 * Reads the UVC device name.
 * @param buffer   receives the text
 * @param capacity size of `buffer` in bytes (100)
 * @param length   receives the text's length in bytes
 */
RTICE_SDK_API int32_t AT_Get_UVC_Name(uint8_t* buffer, uint32_t capacity, uint32_t* length);

/**
 * Reads the USB manufacturer string.
 * @param buffer   receives the text, which need not be terminated
 * @param capacity usable size of `buffer` in bytes (64)
 * @return the text's length in bytes, or a negative value on failure
 */
RTICE_SDK_API int32_t AT_USB_Get_iManufacturer(uint8_t* buffer, uint32_t capacity);

/** Reads the USB product string; as AT_USB_Get_iManufacturer. */
RTICE_SDK_API int32_t AT_USB_Get_iProduct(uint8_t* buffer, uint32_t capacity);

/* ---- External MCU and I2C bus ----------------------------------------- */

/**
 * Writes bytes to a slave on the device's I2C bus.
 * @param bus    bus index (3)
 * @param slave  7-bit slave address
 * @param length number of bytes to write
 * @param data   the bytes, the register index first
 */
RTICE_SDK_API int32_t AT_System_Send_ExternalMCU_cmd(uint8_t bus, uint8_t slave, uint16_t length, const uint8_t* data);

/**
 * Writes a register index to a slave on the device's I2C bus and reads bytes
 * back.
 * @param bus         bus index (3)
 * @param slave       7-bit slave address
 * @param writeLength number of register-index bytes
 * @param writeData   the register index, most significant byte first
 * @param readLength  number of bytes to read
 * @param readBuffer  receives `readLength` bytes
 */
RTICE_SDK_API int32_t AT_System_Get_ExternalMCU_cmd(uint8_t bus, uint8_t slave, unsigned int writeLength,
                                                    const uint8_t* writeData, unsigned int readLength,
                                                    uint8_t* readBuffer);

/* ---- Video ------------------------------------------------------------ */

/** Size in bytes of the buffer handed to AT_HdmiRX_GetRawTimingInfo. */
#define RTICE_RAW_TIMING_INFO_SIZE 48

/**
 * Reads what the HDMI receiver measures of its input signal.
 * @param record 48 bytes; receives a packed little-endian record, of which
 *               bytes 0 to 35 are defined (`video/rx_timing.h`)
 */
RTICE_SDK_API int32_t AT_HdmiRX_GetRawTimingInfo(uint8_t* record);

/** Reads the input source: 0 = HDMI, any other value = DP. */
RTICE_SDK_API int32_t AT_Get_Current_Input_Source(uint8_t* source);

/** Switches the input source: 0 = HDMI, 1 = DP. */
RTICE_SDK_API int32_t AT_Input_Source_Switch(const uint8_t* source);

/** Drives the receiver's hot-plug line: 1 = asserted, 0 = released. */
RTICE_SDK_API int32_t AT_HdmiRX_Set_HPD(int32_t on);

/** Reads the transmitter's hot-plug state: 1 = a sink is present. */
RTICE_SDK_API int32_t AT_HdmiTX_Get_HPD_Status(int32_t* status);

/**
 * Reads the UVC output timing.
 * @param record at least 128 bytes; receives three little-endian unsigned
 *               32-bit values: width in pixels, height in lines, frame rate in
 *               hundredths of a frame per second
 */
RTICE_SDK_API int32_t AT_UVC_Get_Output_Timing(uint8_t* record);

/** Reads the UVC pixel format code. */
RTICE_SDK_API int32_t AT_UVC_Get_VideoFormat(uint8_t* format);

/**
 * Reads the HDCP versions in use.
 * @param versions at least 128 bytes; byte 0 receives the receiver's code,
 *                 byte 1 the transmitter's
 */
RTICE_SDK_API int32_t AT_Get_RX_TX_HDCP_Version(uint8_t* versions);

/* ---- Audio ------------------------------------------------------------ */

/** Reads the code of the incoming audio's format. */
RTICE_SDK_API int32_t AT_Audio_Get_HdmiRX_AudioFormat(uint8_t* format);

/** Reads the code of the incoming audio's sampling rate. */
RTICE_SDK_API int32_t AT_Audio_Get_HdmiRX_AudioSamplingRate(uint8_t* rate);

/** Reads the HDMI/DP receiver's volume gain. */
RTICE_SDK_API int32_t AT_Audio_Get_HdmiDPRX_VolumeGain(int16_t* gain);

/** Sets the HDMI/DP receiver's volume gain. */
RTICE_SDK_API int32_t AT_Audio_Set_HdmiDPRX_VolumeGain(int32_t gain);

/** Reads the headphone output gain. */
RTICE_SDK_API int32_t AT_Audio_Get_HPOUTgain(int16_t* gain);

/** Sets the headphone output gain. */
RTICE_SDK_API int32_t AT_Audio_Set_HPOUTgain(const int16_t* gain);

/** Reads the headphone mute of the audio DAC: non-zero = muted. */
RTICE_SDK_API int32_t AT_Audio_Get_DACHP_Mute(uint8_t* mute);

/** Sets the headphone mute of the audio DAC: 1 = mute, 0 = unmute. */
RTICE_SDK_API int32_t AT_Audio_Set_DACHP_Mute(int32_t mute);

/* ---- EDID ------------------------------------------------------------- */

/** Reads the EDID mode, 0 to 3. */
RTICE_SDK_API int32_t AT_EDID_Get_EDID_mode(uint8_t* mode);

/** Sets the EDID mode, 0 to 3. */
RTICE_SDK_API int32_t AT_EDID_Set_EDID_mode(int32_t mode);

/** Reads the flash EDID slot in use, 0 to 6. */
RTICE_SDK_API int32_t AT_EDID_Flash_Get_Default_table(uint8_t* slot);

/** Sets the flash EDID slot in use, 0 to 6. */
RTICE_SDK_API int32_t AT_EDID_Flash_Set_Default_table(uint8_t slot);

/**
 * Reads the table of a flash EDID slot.
 * @param slot   0 to 6
 * @param buffer receives `size` bytes
 * @param size   256, 384 or 512
 */
RTICE_SDK_API int32_t AT_EDID_Flash_Get_table(uint8_t slot, uint8_t* buffer, uint32_t size);

/**
 * Writes the table of a flash EDID slot.
 * @param slot  0 to 6
 * @param bytes the table
 * @param size  number of bytes, at most 512
 */
RTICE_SDK_API int32_t AT_EDID_Flash_Set_table(uint8_t slot, const uint8_t* bytes, uint32_t size);

/**
 * Reads the EDID of the sink at the transmitter.
 * @param size   256, 384 or 512
 * @param buffer receives `size` bytes
 */
RTICE_SDK_API int32_t AT_EDID_Get_TX_table(uint32_t size, uint8_t* buffer);

/**
 * Reads the EDID that the receiver offers to its source.
 * @param size   256, 384 or 512
 * @param buffer receives `size` bytes
 */
RTICE_SDK_API int32_t AT_EDID_DDC_Get_RX_table(uint32_t size, uint8_t* buffer);

/* ---- GPIO and HDCP ---------------------------------------------------- */

/**
 * Reads a GPIO pin of the capture chip.
 * @param group 0 = ISO, 1 = MISC
 * @param index pin, 0 to 13
 * @param value receives the pin's value
 */
RTICE_SDK_API int32_t AT_GPIO_Get_Param(uint8_t group, uint8_t index, uint8_t* value);

/** Writes a GPIO pin of the capture chip; as AT_GPIO_Get_Param. */
RTICE_SDK_API int32_t AT_GPIO_Set_Param(uint8_t group, uint8_t index, uint8_t value);

/** Switches the transmitter's HDCP: 1 = on, 0 = off. */
RTICE_SDK_API int32_t AT_SetHDMI_HDCP_OnOff(int32_t on);

#ifdef __cplusplus
}
#endif
