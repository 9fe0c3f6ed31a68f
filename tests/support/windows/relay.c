/* A kernel driver with two ends. What the library submits at the camera's end waits here, appears
 * at the driver's end as the messages of orvex_ddi.h, and is completed from there. Closing the
 * driver's end is the removal of the camera. */
#include "relay.h"

#include <ntddk.h>

#include "orvex/orvex_ddi.h"

enum { relay_tag = 0x7876724f };

static KSPIN_LOCK lock;
static LIST_ENTRY untold; /* pending, not yet received at the driver's end */
static LIST_ENTRY told;
static DEVICE_OBJECT* camera_end;
static DEVICE_OBJECT* driver_end;
/* A received request that the system has cancelled, still to be told of. */
typedef struct Cancelled {
    LIST_ENTRY entry;
    UINT64 id;
} Cancelled;
static LIST_ENTRY cancelled;

static UINT64 last_id;
static BOOLEAN alive;       /* somebody plays the driver */
static BOOLEAN camera_open; /* the library has the camera's end */
static BOOLEAN at_once;
static BOOLEAN refuses;

static IRP* IrpOf(LIST_ENTRY* entry) {
    return CONTAINING_RECORD(entry, IRP, Tail.Overlay.ListEntry);
}

static UINT64 IdOf(IRP* irp) {
    return (UINT64)(UINT_PTR)irp->Tail.Overlay.DriverContext[0];
}

static NTSTATUS Finish(IRP* irp, NTSTATUS status, ULONG_PTR bytes) {
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = bytes;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

/* Takes a pending request out, unless its cancellation is on its way and does that. */
static BOOLEAN Claim(IRP* irp) {
    if (IoSetCancelRoutine(irp, NULL) == NULL) return FALSE;
    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    return TRUE;
}

static void WINAPI Cancel(DEVICE_OBJECT* device, IRP* irp) {
    KIRQL level;
    Cancelled* note = ExAllocatePoolWithTag(NonPagedPool, sizeof(*note), relay_tag);
    (void)device;
    IoReleaseCancelSpinLock(irp->CancelIrql);
    KeAcquireSpinLock(&lock, &level);
    note->id = IdOf(irp);
    InsertTailList(&cancelled, &note->entry);
    RemoveEntryList(&irp->Tail.Overlay.ListEntry);
    KeReleaseSpinLock(&lock, level);
    Finish(irp, STATUS_CANCELLED, 0);
}

static NTSTATUS Submit(IRP* irp, IO_STACK_LOCATION* stack) {
    KIRQL level;
    NTSTATUS refusal = STATUS_SUCCESS;
    if (stack->Parameters.DeviceIoControl.InputBufferLength < sizeof(dv_notification_request) ||
        stack->Parameters.DeviceIoControl.OutputBufferLength < sizeof(dv_notification_report) ||
        refuses)
        return Finish(irp, STATUS_INVALID_PARAMETER, 0);
    if (at_once) return Finish(irp, STATUS_SUCCESS, sizeof(dv_notification_report));
    KeAcquireSpinLock(&lock, &level);
    if (alive) {
        IoMarkIrpPending(irp);
        irp->Tail.Overlay.DriverContext[0] = (void*)(UINT_PTR)++last_id;
        InsertTailList(&untold, &irp->Tail.Overlay.ListEntry);
        IoSetCancelRoutine(irp, Cancel);
    } else {
        refusal = STATUS_DEVICE_NOT_CONNECTED;
    }
    KeReleaseSpinLock(&lock, level);
    return refusal == STATUS_SUCCESS ? STATUS_PENDING : Finish(irp, refusal, 0);
}

/* With operation 0 when the library has gone. */
static NTSTATUS Receive(IRP* irp, IO_STACK_LOCATION* stack) {
    KIRQL level;
    dv_file_request message = {0};
    NTSTATUS status = camera_open ? STATUS_NO_MORE_ENTRIES : STATUS_SUCCESS;
    if (stack->Parameters.DeviceIoControl.OutputBufferLength < sizeof(message))
        return Finish(irp, STATUS_BUFFER_TOO_SMALL, 0);
    KeAcquireSpinLock(&lock, &level);
    if (!IsListEmpty(&cancelled)) {
        Cancelled* note = CONTAINING_RECORD(RemoveHeadList(&cancelled), Cancelled, entry);
        message.operation = DV_FILE_CANCEL_ALL;
        message.id = note->id;
        ExFreePoolWithTag(note, relay_tag);
        status = STATUS_SUCCESS;
    } else if (!IsListEmpty(&untold)) {
        LIST_ENTRY* entry = RemoveHeadList(&untold);
        IRP* request = IrpOf(entry);
        IO_STACK_LOCATION* sent = IoGetCurrentIrpStackLocation(request);
        InsertTailList(&told, entry);
        message.operation = DV_FILE_SUBMIT;
        message.code = sent->Parameters.DeviceIoControl.IoControlCode;
        message.id = IdOf(request);
        message.in_size = sent->Parameters.DeviceIoControl.InputBufferLength;
        message.out_size = sent->Parameters.DeviceIoControl.OutputBufferLength;
        message.in = *(dv_notification_request*)request->AssociatedIrp.SystemBuffer;
        status = STATUS_SUCCESS;
    }
    KeReleaseSpinLock(&lock, level);
    *(dv_file_request*)irp->AssociatedIrp.SystemBuffer = message;
    return Finish(irp, status, status == STATUS_SUCCESS ? sizeof(message) : 0);
}

static NTSTATUS Complete(IRP* irp, IO_STACK_LOCATION* stack) {
    KIRQL level;
    const dv_file_completion* message = irp->AssociatedIrp.SystemBuffer;
    IRP* found = NULL;
    LIST_ENTRY* entry;
    if (stack->Parameters.DeviceIoControl.InputBufferLength < sizeof(*message))
        return Finish(irp, STATUS_INVALID_PARAMETER, 0);
    KeAcquireSpinLock(&lock, &level);
    for (entry = told.Flink; entry != &told; entry = entry->Flink)
        if (IdOf(IrpOf(entry)) == message->id) {
            if (Claim(IrpOf(entry))) found = IrpOf(entry);
            break;
        }
    KeReleaseSpinLock(&lock, level);
    if (found == NULL) return Finish(irp, STATUS_NOT_FOUND, 0);
    *(dv_notification_report*)found->AssociatedIrp.SystemBuffer = message->out;
    Finish(found, message->result == 0 ? STATUS_SUCCESS : STATUS_UNSUCCESSFUL, message->bytes);
    return Finish(irp, STATUS_SUCCESS, 0);
}

static void RemoveCamera(void) {
    LIST_ENTRY* queues[] = {&told, &untold};
    int i;
    for (i = 0; i < 2; ++i)
        for (;;) {
            KIRQL level;
            IRP* irp = NULL;
            KeAcquireSpinLock(&lock, &level);
            alive = FALSE;
            if (!IsListEmpty(queues[i])) {
                irp = IrpOf(queues[i]->Flink);
                if (!Claim(irp)) irp = NULL;
            }
            KeReleaseSpinLock(&lock, level);
            if (irp == NULL) break;
            Finish(irp, STATUS_DEVICE_NOT_CONNECTED, 0);
        }
}

static NTSTATUS WINAPI Control(DEVICE_OBJECT* device, IRP* irp) {
    IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation(irp);
    const UINT32* flag = irp->AssociatedIrp.SystemBuffer;
    if (device == camera_end) return Submit(irp, stack);
    switch (stack->Parameters.DeviceIoControl.IoControlCode) {
        case RELAY_RECEIVE: return Receive(irp, stack);
        case RELAY_COMPLETE: return Complete(irp, stack);
        case RELAY_AT_ONCE: at_once = *flag != 0; break;
        case RELAY_REFUSE: refuses = *flag != 0; break;
        default: return Finish(irp, STATUS_INVALID_DEVICE_REQUEST, 0);
    }
    return Finish(irp, STATUS_SUCCESS, 0);
}

static NTSTATUS WINAPI OpenOrClose(DEVICE_OBJECT* device, IRP* irp) {
    const BOOLEAN opens = IoGetCurrentIrpStackLocation(irp)->MajorFunction == IRP_MJ_CREATE;
    if (device == camera_end) {
        camera_open = opens;
    } else if (opens) {
        alive = TRUE;
        at_once = refuses = FALSE;
        while (!IsListEmpty(&cancelled))
            ExFreePoolWithTag(CONTAINING_RECORD(RemoveHeadList(&cancelled), Cancelled, entry),
                              relay_tag);
    } else {
        RemoveCamera();
    }
    return Finish(irp, STATUS_SUCCESS, 0);
}

static void WINAPI Unload(DRIVER_OBJECT* driver) {
    UNICODE_STRING camera_link = RTL_CONSTANT_STRING(L"\\DosDevices\\OrvexRelayCamera");
    UNICODE_STRING driver_link = RTL_CONSTANT_STRING(L"\\DosDevices\\OrvexRelayDriver");
    (void)driver;
    IoDeleteSymbolicLink(&camera_link);
    IoDeleteSymbolicLink(&driver_link);
    IoDeleteDevice(camera_end);
    IoDeleteDevice(driver_end);
}

NTSTATUS WINAPI DriverEntry(DRIVER_OBJECT* driver, UNICODE_STRING* path) {
    UNICODE_STRING camera_name = RTL_CONSTANT_STRING(L"\\Device\\OrvexRelayCamera");
    UNICODE_STRING camera_link = RTL_CONSTANT_STRING(L"\\DosDevices\\OrvexRelayCamera");
    UNICODE_STRING driver_name = RTL_CONSTANT_STRING(L"\\Device\\OrvexRelayDriver");
    UNICODE_STRING driver_link = RTL_CONSTANT_STRING(L"\\DosDevices\\OrvexRelayDriver");
    NTSTATUS status;
    (void)path;
    KeInitializeSpinLock(&lock);
    InitializeListHead(&untold);
    InitializeListHead(&told);
    InitializeListHead(&cancelled);
    driver->MajorFunction[IRP_MJ_CREATE] = OpenOrClose;
    driver->MajorFunction[IRP_MJ_CLOSE] = OpenOrClose;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = Control;
    driver->DriverUnload = Unload;
    status = IoCreateDevice(driver, 0, &camera_name, FILE_DEVICE_UNKNOWN, 0, FALSE, &camera_end);
    if (NT_SUCCESS(status)) status = IoCreateSymbolicLink(&camera_link, &camera_name);
    if (NT_SUCCESS(status))
        status =
            IoCreateDevice(driver, 0, &driver_name, FILE_DEVICE_UNKNOWN, 0, FALSE, &driver_end);
    if (NT_SUCCESS(status)) status = IoCreateSymbolicLink(&driver_link, &driver_name);
    return status;
}
